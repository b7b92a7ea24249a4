#pragma once
// The Linux source of application events, for tests that watch the real process table and window
// manager with a source of their own rather than the process-wide one.

#include "Platform/ApplicationEvents.h"

#include <memory>

std::unique_ptr<ApplicationEventSource> makeLinuxApplicationEventSource();
