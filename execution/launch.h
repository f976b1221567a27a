#pragma once

#include "execution/server_context.h"

#include <chrono>
#include <cstddef>
#include <vector>

namespace ruvo {

// Starts the senders of one record, step by step. Queue thread.
class Launch {
  public:
    using Clock = std::chrono::steady_clock;

    // `start` is when the record's execution has begun: delays count from there.
    Launch(ServerContext& server, const EventEntry& record, Clock::time_point start);

    // To be called for every step in turn, also for one that is not to be sent. Writes the
    // sent line, reserves a slot and starts its sender; a step whose protocol names no
    // sender, that finds no slot, or whose thread can't be started is dropped.
    void step(std::size_t position, bool is_sent);

  private:
    void send(std::size_t position);
    void let_immediate_senders_go();

    enum class Immediate { kNone, kWaiting, kGone };

    ServerContext& server_;
    const EventEntry& record_;
    const Clock::time_point start_;
    const std::vector<std::chrono::nanoseconds> times_;
    // What the next step that is due together with one goes behind.
    std::vector<SenderDepartures::Departure> departures_;
    Immediate immediate_ = Immediate::kNone;
};

}  // namespace ruvo
