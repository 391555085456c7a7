#pragma once

#include "msxml.h"
