#pragma once

namespace ruvo::devkit {

// Lets this process open as many descriptors as its hard limit allows. A failure
// changes nothing.
void raise_descriptor_limit();

}  // namespace ruvo::devkit
