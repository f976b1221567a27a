#pragma once

namespace ruvo {

// Makes standard output line buffered, and lets a peer or a reader of standard
// output go away without ending the daemon. Called once, before anything else.
void set_up_process();

}  // namespace ruvo
