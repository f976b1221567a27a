#pragma once

namespace ruvo {

// Keeps the uptime and the power-on window up to date and reads the settings again
// whenever their file changes. Never returns. Main thread.
[[noreturn]] void supervise();

}  // namespace ruvo
