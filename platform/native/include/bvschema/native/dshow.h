// The media framework's main header.
#pragma once

#include "strmif.h"
#include "windows.h"
