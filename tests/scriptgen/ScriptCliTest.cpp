#include "ScriptFixture.h"
