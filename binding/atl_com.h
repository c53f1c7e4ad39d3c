#pragma once

// All headers that code needs to use the proxy's objects.
#include "binding/call_gate.h"
#include "binding/com_ptr.h"
#include "binding/counted_string.h"
#include "binding/error.h"
#include "binding/error_info.h"
#include "binding/event_sink.h"
#include "binding/variant.h"
