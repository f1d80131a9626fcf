#pragma once

// Runs a WHILE loop of `rounds` simple rounds (an increment and a little arithmetic on int
// variables) in the embedded server and prints its time and the cost of one round.
int RunWhileBenchmark(long long rounds);
