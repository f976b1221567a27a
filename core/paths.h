#pragma once

namespace ruvo {

// The fixed places of the daemon's files; other products rely on them.

#define RUVO_CONFIG_DIR "/mnt/configs/ruvo"

inline constexpr char kSettingsPath[] = RUVO_CONFIG_DIR "/ruvo.txt";
inline constexpr char kTestSettingsPath[] = RUVO_CONFIG_DIR "/ruvotest.txt";
// Known to installers' tools; nothing in the daemon reads it.
inline constexpr char kGenericEventsPath[] = RUVO_CONFIG_DIR "/genericEvents.txt";
inline constexpr char kEventLogPath[] = "/var/log/ruvoevent.log";

}  // namespace ruvo
