#pragma once

#include "ScreenSize.h"

namespace ScreenMetrics {
// The primary screen now, or the fallback of ScreenSize when no screen exists.
ScreenSize Current();
} // namespace ScreenMetrics
