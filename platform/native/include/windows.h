// The system's main header: everything but the component model, Automation, paths and the media framework.
#pragma once

#include "windef.h"
//
#include "winbase.h"
#include "winerror.h"
#include "winreg.h"
