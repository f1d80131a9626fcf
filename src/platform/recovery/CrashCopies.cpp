#include "CrashCopies.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int slotCount = 64;
constexpr qsizetype pathCapacity = 1024;
constexpr char tempSuffix[] = ".crash";

enum State : int { Free, Filling, Live };

struct Copy {
    qsizetype size;
    std::unique_ptr<char[]> bytes;
};

struct Slot {
    std::atomic<int> state{Free};
    char path[pathCapacity];
    char tempPath[pathCapacity];
    std::atomic<Copy*> copy{nullptr};
    // The copy replaced last: freed one replacement later, so that a handler running on another
    // thread never reads a copy while it is being freed.
    Copy* retired = nullptr;
};

Slot gSlots[slotCount];

bool writeAll(int fd, const char* bytes, qsizetype size) {
    while (size > 0) {
        const ssize_t written = ::write(fd, bytes, static_cast<size_t>(size));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes += written;
        size -= written;
    }
    return true;
}

void writeSlot(const Slot& slot) {
    const Copy* copy = slot.copy.load();
    if (!copy) {
        ::unlink(slot.path);
        return;
    }
    const int fd = ::open(slot.tempPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0)
        return;
    const bool written = writeAll(fd, copy->bytes.get(), copy->size);
    ::close(fd);
    if (!written || ::rename(slot.tempPath, slot.path) != 0)
        ::unlink(slot.tempPath);
}

} // namespace

int CrashCopies::Claim(const QByteArray& path) {
    if (path.size() + qsizetype(sizeof tempSuffix) > pathCapacity)
        return -1;
    for (int i = 0; i < slotCount; ++i) {
        int expected = Free;
        if (!gSlots[i].state.compare_exchange_strong(expected, Filling))
            continue;
        Slot& slot = gSlots[i];
        std::memcpy(slot.path, path.constData(), path.size());
        slot.path[path.size()] = '\0';
        std::memcpy(slot.tempPath, path.constData(), path.size());
        std::memcpy(slot.tempPath + path.size(), tempSuffix, sizeof tempSuffix);
        slot.state.store(Live);
        return i;
    }
    return -1;
}

void CrashCopies::Set(int index, const QByteArray& bytes) {
    if (index < 0)
        return;
    Slot& slot = gSlots[index];
    Copy* fresh = nullptr;
    if (!bytes.isEmpty()) {
        fresh = new Copy{bytes.size(), std::make_unique<char[]>(bytes.size())};
        std::memcpy(fresh->bytes.get(), bytes.constData(), bytes.size());
    }
    Copy* previous = slot.copy.exchange(fresh);
    delete slot.retired;
    slot.retired = previous;
}

void CrashCopies::Release(int index) {
    if (index < 0)
        return;
    Slot& slot = gSlots[index];
    slot.state.store(Filling);
    delete slot.copy.exchange(nullptr);
    delete slot.retired;
    slot.retired = nullptr;
    slot.state.store(Free);
}

void CrashCopies::WriteAll() noexcept {
    for (const Slot& slot : gSlots)
        if (slot.state.load() == Live)
            writeSlot(slot);
}
