// What the codec front and the engines use throughout: log, assertion, lock, settings file.
#pragma once

#include "Common/h/WCritSec.h"
#include "Common/h/log.h"
#include "Common/h/settings.h"

#include <cstdint>
#include <string>
