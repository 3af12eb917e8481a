// The latest speed test of a server.

#include "handlers/payload_reader.h"
#include "handlers/request_handlers.h"
#include "handlers/response_writer.h"
#include "handlers/text_conversion.h"
#include "ipc/wire/requests.h"
#include "ipc/wire/responses.h"
#include "sdk/accel_sdk.h"

namespace orva_accelerator::ipc {

void HandleGetTestSpeedData(PipeServer& /*server*/, const MessageHeader& /*header*/,
                            const void* payload, void*& response, std::uint32_t& responseLength) {
  const auto request = readFixedPart<TestSpeedRequest>(payload);
  std::uint32_t cursor = sizeof(request);
  const std::wstring serverKey = ReadPayloadText(payload, cursor, request.serverKeyLength);
  TestSpeedResponse answer = {};
  // The entries and their number are not sent: the protocol carries the summary only.
  if (const auto data = sdk::AccelSdk::Instance().GetTestSpeedData(request.gameId, request.areaId,
                                                                   serverKey, request.testOption)) {
    answer.status = 1;
    static_assert(sizeof(answer.summary) == sizeof(data->summary));
    std::memcpy(answer.summary, &data->summary, sizeof(answer.summary));
  }
  respond(answer, response, responseLength);
}

}  // namespace orva_accelerator::ipc
