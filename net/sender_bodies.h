#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace ruvo {

// The bodies of the sender threads (see SenderBody). Each copies its slot's texts,
// waits until the slot is due (a slot without a due time: the whole delay; a delay
// of 0 or less: not at all), then at most 50 ms for the sender that it goes behind,
// sends once, notes its departure and sets the slot finished. It departs with its
// datagram; by TCP, or with a report to fetch, when it begins. Nobody hears of a failure
// but the log.

// The slot's data by UDP.
void udpclient_thread(std::int32_t slot, std::int32_t port, std::chrono::nanoseconds delay,
                      std::atomic<std::int32_t>& state) noexcept;

// The slot's data by TCP; the reply is dropped.
void tcpclient_thread(std::int32_t slot, std::int32_t port, std::chrono::nanoseconds delay,
                      std::atomic<std::int32_t>& state) noexcept;

// A fresh report of the status service by UDP or TCP; without one, the text of the
// error that stood in its way.
void udpclient_getStatus_thread(std::int32_t slot, std::int32_t port,
                                std::chrono::nanoseconds delay,
                                std::atomic<std::int32_t>& state) noexcept;
void tcpclient_getStatus_thread(std::int32_t slot, std::int32_t port,
                                std::chrono::nanoseconds delay,
                                std::atomic<std::int32_t>& state) noexcept;

}  // namespace ruvo
