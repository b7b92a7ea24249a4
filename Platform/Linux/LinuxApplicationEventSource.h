#pragma once
// The Linux source of application events, for tests that watch the real process table and window
// manager with a source of their own rather than the process-wide one.

#include "Platform/ApplicationEvents.h"

#include <memory>

#include <sys/types.h>
#include <unistd.h>

/// Reports launches and terminations of processOwner's processes (the current user's by default).
std::unique_ptr<ApplicationEventSource> makeLinuxApplicationEventSource(
    uid_t processOwner = ::getuid());
