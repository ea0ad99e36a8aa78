// The declarations widl generates from Synthor01.idl. COM interfaces have no virtual destructor
// by design (objects delete themselves in Release), so that warning is off in the files that
// declare or implement them.
#pragma once

#include <windows.h>

#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#include "Synthor01.h"
