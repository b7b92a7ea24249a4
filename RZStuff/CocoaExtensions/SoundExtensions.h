#pragma once
// SoundExtensions: the sound class's catalog of application and system sounds, and playback as a
// sound effect on the user's sound-effect device at the user's alert volume. The operations are
// members of NSSound (declared in NSSound.h) and are implemented in SoundExtensions.cpp.

#include "NSSound.h"

/// How many silent warm-up threads prepareForSound has started (for tests).
int silentSoundThreadsStarted();
