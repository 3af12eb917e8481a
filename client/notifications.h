// What the service announces on the push pipe, decoded.
#pragma once

#include "client/answer.h"
#include "client/bytes.h"
#include "client/result.h"
#include "ipc/wire/headers.h"

namespace orva_accelerator::client {

using Notification = Answer<orva_notification>;

// A message that can be nothing but a header: 20 bytes with the push magic.
bool IsPushFrameHeader(ByteView message);

// Pure; checks every length against the bytes that are there. A type that this library does not
// know is no error.
Result<Notification> DecodeNotification(const ipc::PushFrameHeader& header, ByteView payload);

}  // namespace orva_accelerator::client
