#include "StoreTraffic.h"

#include <atomic>

namespace {
std::atomic<long long> gStatements{0};
std::atomic<long long> gStoreCalls{0};
std::function<void()>& observer() {
    static std::function<void()> value;
    return value;
}
} // namespace

void StoreTraffic::Statements(long long n) {
    gStatements += n;
}

void StoreTraffic::StoreCall() {
    ++gStoreCalls;
    if (observer())
        observer()();
}

long long StoreTraffic::StatementCount() {
    return gStatements.load();
}

long long StoreTraffic::StoreCallCount() {
    return gStoreCalls.load();
}

void StoreTraffic::Reset() {
    gStatements = 0;
    gStoreCalls = 0;
}

void StoreTraffic::SetStoreCallObserver(std::function<void()> observer_) {
    observer() = std::move(observer_);
}
