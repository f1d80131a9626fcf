#pragma once

class BenchProject;

// Copies the benchmark project, makes a known number of differences of each kind in the copy (texts
// changed on the server, objects on the server alone, objects dropped from the server so that only
// the store has them, and texts that differ only in white space at the ends, which are none), and
// times one whole synchronization compare over it. Prints per kind the rows found, then
//   total_ms=T statements=S store_calls=C differences=D
// and fails when D is not the number made. rttMs is added to every statement and store call.
int RunSyncBenchmark(const BenchProject& project, int rttMs);
