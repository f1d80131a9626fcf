#pragma once

class BenchProject;

// Writes the complete deployment script of the benchmark project (every object the server holds,
// to create) as the script generator does, and prints
//   total_ms=T objects=N bytes=B statements=S store_calls=C
// from the reading of the lists to the file on disk. rttMs is added to every statement and store call.
int RunScriptBenchmark(const BenchProject& project, int rttMs);
