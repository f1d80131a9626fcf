#pragma once

class BenchProject;

// Writes a module of `files` source files of about 500 lines each into a temporary folder, each
// using a few of the project's objects in the ways source code names them, and times one whole
// module document (HTML, with both summaries) over the project: the lists read, every file
// searched, the document written. Prints
//   total_ms=T files=F references=R
// and fails when R is not the number of references written into the files. rttMs is added to
// every statement and store call.
int RunDocsBenchmark(const BenchProject& project, int files, int rttMs);
