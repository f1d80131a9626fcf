#pragma once

class BenchProject;

// Tests the syntax of one procedure of the benchmark project and checks it in, through the object
// model as the editor does, and prints the milliseconds of each step (the median of a few rounds),
// then the same CREATE and drop in an empty database, which is what the steps cost at best.
int RunTestBenchmark(const BenchProject& project);
