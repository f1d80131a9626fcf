#pragma once

class RecoveryFiles;

// The last resort when the program goes down against its will. An exception that nothing caught
// keeps every unsaved text (through the sources), says what happened on stderr and aborts; a fatal
// signal (SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT) writes the texts as they were last reported and
// lets the signal end the process as it would have. Installed once, after the prompts; the files
// stay in force until they are destroyed.
void InstallLastResortHandlers(RecoveryFiles& files);
