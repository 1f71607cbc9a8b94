#include "TraceHook.h"

TRACEHOOK g_lpfnTraceHook = nullptr;
