#pragma once

namespace ruvo {

// Keeps the uptime and the power-on window up to date and reads the settings again
// whenever their file changes, and some time after a reading for which there was no
// memory, the first one (false: it was such a one) included. Never returns. Main thread.
[[noreturn]] void supervise(bool settings_read);

}  // namespace ruvo
