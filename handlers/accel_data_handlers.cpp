// The figures of the running acceleration and of the console.

#include "handlers/request_handlers.h"
#include "handlers/response_writer.h"
#include "handlers/text_conversion.h"
#include "ipc/wire/responses.h"
#include "sdk/accel_sdk.h"

namespace orva_accelerator::ipc {

void HandleGetAccelData(PipeServer& /*server*/, const MessageHeader& /*header*/,
                        const void* /*payload*/, void*& response, std::uint32_t& responseLength) {
  const sdk::AccelDataInfo data = sdk::AccelSdk::Instance().GetAccelData();
  const Utf8Text text3(data.text3);
  ResponseWriter writer(response, responseLength,
                        sizeof(AccelDataResponse) + textLength(text3.view()));
  writer.write(AccelDataResponse{
      .value2 = data.value2,
      .value3 = data.value3,
      .value4 = data.value4,
      .value1 = data.value1,
      .value5 = data.value5,
      .value6 = data.value6,
      .value9 = data.value9,
      .reserved1 = 0,
      .value8 = data.value8,
      .value10 = data.value10,
      .text3Length = textLength(text3.view()),
      .reserved2 = 0,
  });
  writer.writeText(text3.view());
}

void HandleGetConsoleData(PipeServer& /*server*/, const MessageHeader& /*header*/,
                          const void* /*payload*/, void*& response, std::uint32_t& responseLength) {
  const sdk::ConsoleDataRecord data = sdk::AccelSdk::Instance().GetConsoleData();
  const ConsoleDataResponse answer = {
      .status = 1,
      .console1 = data.console1,
      .console2 = data.console2,
      .console3 = data.console3,
      .console4 = data.console4,
      .console5 = data.console5,
      .consoleFlag = data.consoleFlag != 0 ? 1U : 0U,
  };
  respond(answer, response, responseLength);
}

}  // namespace orva_accelerator::ipc
