#pragma once

#include "TARMOError.h"

#include <exception>
#include <utility>

// Errors that reach the user: every entry from the user (a command, a click, a timer, a start-up step)
// ends here with what it could not do, as a critical message box through the prompts, and the program
// goes on. A report never throws; one that arrives while another is on screen goes to stderr instead,
// so that a failing repaint behind the box cannot stack boxes without end.
void ReportError(const TARMOError& error);
void ReportError(const std::exception& error);
void ReportUnknownError();

// Runs f and answers true, or reports what it threw and answers false.
template <class F> bool Guarded(F&& f) {
    try {
        std::forward<F>(f)();
        return true;
    } catch (const TARMOError& e) {
        ReportError(e);
    } catch (const std::exception& e) {
        ReportError(e);
    } catch (...) {
        ReportUnknownError();
    }
    return false;
}
