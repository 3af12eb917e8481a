// A request as its handler sees it.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "handlers/answer.h"
#include "handlers/text_conversion.h"
#include "ipc/wire/messages.h"

namespace orva_accelerator::ipc {

class PipeServer;

template <MessageType Type>
class Request {
 public:
  using Record = typename MessageOf<Type>::Request;
  using Response = typename MessageOf<Type>::Response;

  // A payload that is shorter than its fixed part, or absent, continues with the bytes of its read
  // margin.
  Request(PipeServer& itsServer, std::uint32_t itsClientId, const void* payload)
      : server(itsServer), clientId(itsClientId), payload_(payload) {
    std::memcpy(&fixed, payload, kRecordSize<Record>);
  }

  // The texts behind the fixed part, in their order. Converted at each call.
  auto texts() const { return textsAt(std::make_index_sequence<kLengths.size()>()); }

  // The answer to it: the fixed part, and the texts of which that has the lengths.
  template <typename... Texts>
  Answer answer(const Response& fixedPart, const Texts&... texts) const {
    return Answer::of(fixedPart, texts...);
  }

  PipeServer& server;
  const std::uint32_t clientId;
  Record fixed;

 private:
  static constexpr auto& kLengths = kTextLengths<Record>;

  std::uint16_t lengthAt(std::size_t offset) const {
    std::uint16_t length = 0;
    std::memcpy(&length, static_cast<const std::uint8_t*>(payload_) + offset, sizeof(length));
    return length;
  }
  // A braced list is evaluated from left to right, as the cursor needs it.
  template <std::size_t... At>
  std::array<std::wstring, kLengths.size()> textsAt(std::index_sequence<At...> /*all*/) const {
    [[maybe_unused]] std::uint32_t cursor = sizeof(Record);
    return {ReadPayloadText(payload_, cursor, lengthAt(kLengths[At]))...};
  }

  const void* payload_;
};

}  // namespace orva_accelerator::ipc
