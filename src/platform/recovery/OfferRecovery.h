#pragma once

#include "RecoveryFiles.h"

#include <functional>

// At start: offers to reopen the texts that an earlier run left when it went down. Yes opens each
// through open and discards its file once it is open again (a text that fails to open stays for
// the next start); No asks once more before the texts are discarded, since they cannot come back;
// Cancel keeps them and the question comes again at the next start. Answers how many were opened.
int OfferRecovery(RecoveryFiles& files, const std::function<void(const RecoveredText&)>& open);
