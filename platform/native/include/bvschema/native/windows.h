// The system's main header: everything but the component model, Automation, paths and the media framework.
#pragma once

#include "fileapi.h"
#include "minwinbase.h"
#include "stringapiset.h"
#include "windef.h"
#include "winnls.h"
//
#include "winbase.h"
#include "winerror.h"
#include "winreg.h"
#include "winuser.h"
