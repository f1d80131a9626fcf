#pragma once

#include <QString>

class BenchProject;

// Connects to the benchmark project, refreshes the four lists and builds their tree records once, as
// opening each top-level node does, and prints per list the statements sent, the store calls and
// the time, then one line of totals. rttMs is added to every statement (by the embedded driver) and
// to every store call.
int RunRefreshBenchmark(const BenchProject& project, int rttMs);
