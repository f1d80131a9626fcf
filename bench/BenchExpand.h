#pragma once

class BenchProject;

// Times the opening of the Stored Procedures node of the main window's tree on the benchmark
// project: the records are read first (that is the refresh benchmark's work), then the tree takes
// them, drawn offscreen. The floor is a bare tree widget given as many items with a text and an
// icon.
int RunExpandBenchmark(const BenchProject& project, int runs);
