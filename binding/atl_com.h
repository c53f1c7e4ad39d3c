#pragma once

// Includes all headers that the use of the proxy's objects requires.
#include "binding/call_gate.h"
#include "binding/com_ptr.h"
#include "binding/counted_string.h"
#include "binding/error.h"
#include "binding/error_info.h"
#include "binding/event_sink.h"
#include "binding/variant.h"
