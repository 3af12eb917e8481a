// From message type to handler.

#include <algorithm>
#include <iterator>

#include "handlers/request_handlers.h"
#include "ipc/message_handler.h"
#include "ipc/pipe_server.h"

namespace orva_accelerator::ipc {

namespace {

struct Binding {
  MessageType type;
  Answer (*answer)(PipeServer& server, std::uint32_t clientId, const void* payload);
};

template <MessageType Type, Answer (*Handler)(const Request<Type>&)>
constexpr Binding bind() {
  return {Type, [](PipeServer& server, std::uint32_t clientId, const void* payload) {
            return Handler(Request<Type>(server, clientId, payload));
          }};
}

#define ORVA_BINDING(Name) bind<Msg##Name, Handle##Name>(),
constexpr Binding kBindings[] = {ORVA_REQUEST_HANDLERS(ORVA_BINDING)};
#undef ORVA_BINDING
static_assert(std::ranges::equal(kBindings, kMessages, {}, &Binding::type, &MessageRow::type),
              "every message has its handler, in the table's order");

}  // namespace

void DispatchRequest(PipeServer& server, const MessageHeader& header, const void* payload,
                     void*& response, std::uint32_t& responseLength) {
  server.recordActivity();
  response = nullptr;
  responseLength = 0;
  const auto binding = std::ranges::find(kBindings, header.type, &Binding::type);
  if (binding == std::end(kBindings)) return;
  Answer answer = binding->answer(server, header.clientId, payload);
  responseLength = answer.length();
  response = answer.release();
}

}  // namespace orva_accelerator::ipc
