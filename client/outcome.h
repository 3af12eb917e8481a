// Requests whose outcome is announced: how a client hears what became of its own.
//
// The service answers a login, a start and a stop as soon as they are taken, and announces the
// outcome on the push pipe, to everybody and once. So a client registers before it asks.
#pragma once

#include <windows.h>

#include <chrono>
#include <cstdint>
#include <functional>

#include "client/deadline.h"
#include "client/push_channel.h"
#include "client/result.h"
#include "client/service_client.h"

namespace orva_accelerator::client {

// Both connections of one client id. Each is used by one thread at a time.
struct ListeningClient {
  PushChannel push;
  ServiceClient service;
};

// Registers for notifications, connects, and asks for one heartbeat, which gives the service the
// moment that it needs to take the registration: from then on no outcome is missed. `deadline`
// bounds both connections together, `requestTimeout` each request. `interrupt`, if not null, is a
// borrowed event that ends connecting and every request early; it must live as long as the client.
Result<ListeningClient> connectListening(const Endpoint& request, const Endpoint& push,
                                         std::uint32_t clientId, const Deadline& deadline,
                                         std::chrono::milliseconds requestTimeout,
                                         HANDLE interrupt = nullptr);

enum class Awaited {
  Login,
  Start,  // By either kind of start: one that is under way already is announced as what it is.
  Stop
};

// Called by the thread that waits.
using Progress = std::function<void(const orva_notification&)>;

// Reads notifications until one for the channel's own client settles what is awaited: for a start
// one that says accelerating or ended, for the others the first. Gives that one, be it good or bad
// news. `progress` gets all that come before, those for other clients and of other types included,
// so that nothing is lost.
//
// Timeout when it has not come by then; the library may refuse a login or a stop without a word.
// What comes later can still be awaited. For the other errors see PushChannel.
Result<Notification> awaitOutcome(PushChannel& push, Awaited awaited, const Deadline& deadline,
                                  HANDLE interrupt = nullptr, const Progress& progress = {});

}  // namespace orva_accelerator::client
