#pragma once

#include "ruvoctl/verb.h"

namespace ruvo::ctl {

// Each declares what its verb takes and what it does when it is chosen.
void declare_check(Verb verb);
void declare_plan(Verb verb);
void declare_encode(Verb verb);
void declare_decode(Verb verb);

}  // namespace ruvo::ctl
