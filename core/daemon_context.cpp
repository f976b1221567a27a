#include "core/daemon_context.h"

#include "core/network_info.h"
#include "settings/enable_switch.h"

namespace ruvo {

DaemonContext::DaemonContext() {
    (void)renew_enable_event(*this);
    (void)renew_network_info(*this);
}

}  // namespace ruvo
