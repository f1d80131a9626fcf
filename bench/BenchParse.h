#pragma once

// Reads one procedure of `lines` lines of varied T-SQL, most of it beyond what the engine runs,
// through the grammar recognizer alone and through the embedded server under SET PARSEONLY ON, and
// prints the best time of each of a few runs and their sum (total_ms).
int RunParseBenchmark(int lines);
