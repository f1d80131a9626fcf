#pragma once

#include <functional>

// Counts what the object model sends to its two stores: statements to SQL Server and calls to the
// version store. Both stores are a network hop away in real use, so these counts are what a user
// feels; the benchmark reads them, and may add a simulated round trip to each store call (the SQL
// side has its own in the embedded driver). Every call site of the object model counts itself here.
class StoreTraffic {
public:
    static void Statements(long long n = 1);
    static void StoreCall();

    static long long StatementCount();
    static long long StoreCallCount();
    static void Reset();

    // Runs after each counted store call; empty by default.
    static void SetStoreCallObserver(std::function<void()> observer);
};
