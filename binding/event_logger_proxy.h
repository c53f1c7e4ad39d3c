#pragma once

// Everything that the event logger's proxy offers.
#include "binding/collections.h"
#include "binding/connection_points.h"
#include "binding/event_objects.h"
#include "binding/identifiers.h"
#include "binding/logger.h"
#include "binding/variant.h"
