#pragma once

#include "core/mutex.h"
#include "core/published.h"
#include "events/event_entry.h"
#include "events/status_reply.h"
#include "settings/event_definition.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace ruvo {

// What the daemon knows of its device and its settings. Created once at start-up,
// never destroyed. Everything that is replaced whole is published: a reader keeps
// the value it took and never sees half of a change.
struct DaemonContext {
    // Starts with the switch off, then asks for it and for the network address.
    DaemonContext();

    // Held for a whole event-list rebuild, its text file included.
    Mutex lock;

    // The settings files' records. Written by the thread that reads that file: the
    // main thread the normal ones, the command server's thread the test ones.
    Published<EventDefinitions> normalEntries;
    Published<EventDefinitions> testEntries;

    // Written under `lock`; lookups and text files read them.
    Published<EventList> eventList;
    Published<EventList> testEventList;

    // Written, with /tmp/ruvo_var.txt, under status_file_guard.
    Published<StatusVariables> statusVariables;
    Mutex status_file_guard;

    // 1: events are sent; 0: events are skipped. Read by any thread, without the guard.
    std::atomic<std::uint32_t> enable{0};
    // Leaf: the switch is written under it, never a tool run.
    Mutex enable_guard;
    // Counts the beginnings and the ends of commands that set the switch, so an odd
    // number means that one is being carried out.
    std::uint32_t switch_commands RUVO_GUARDED_BY(enable_guard) = 0;

    // The address in dotted form, empty until known, and its interface. Main thread.
    std::string localIp;
    std::string localIfName;
};

}  // namespace ruvo
