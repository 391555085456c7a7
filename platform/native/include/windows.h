// The system's main header: everything but Automation, paths and the media framework.
#pragma once

#include "windef.h"
