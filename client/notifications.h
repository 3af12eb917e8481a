// What the service announces on the push pipe, decoded.
#pragma once

#include <optional>
#include "client/answer.h"

#include "client/bytes.h"
#include "client/result.h"
#include "ipc/wire/headers.h"

namespace orva_accelerator::client {

using Notification = Answer<orva_notification>;

// The header that a message is: 20 bytes with the push magic. Nothing when it is anything else.
std::optional<ipc::PushFrameHeader> pushFrameHeader(ByteView message);

// Pure; checks every length against the bytes that are there. A type that this library does not
// know is no error.
Result<Notification> decodeNotification(const ipc::PushFrameHeader& header, ByteView payload);

}  // namespace orva_accelerator::client
