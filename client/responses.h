// What the service answers, decoded.
//
// The decoders take the payload of one response and are pure functions. A payload that is shorter
// or longer than its own fixed part and text lengths say is a protocol error; nothing is read that
// is not there. An empty payload means that the service does not know the request: that is reported
// as Refused. Reserved fields are not looked at.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "client/answer.h"
#include "client/answer_fields.h"
#include "client/result.h"
#include "ipc/wire/messages.h"

namespace orva_accelerator::client {

// The error of a payload that is not what it should be.
Error malformedAnswer(ByteView payload);

// Fills in the fields of `record` from the front of `bytes`, which is then behind them; its texts
// go into `block`. `surplus` is how much longer the first text is than its length field says. False
// when there are fewer bytes than announced.
template <typename Record>
bool fillRecord(AnswerBlock& block, Record& record, ByteView& bytes, std::size_t surplus = 0);

// An answer that is one wire record and nothing else.
template <typename Wire>
Result<Wire> decodeRecord(ByteView payload) {
  const auto record = frontRecord<Wire>(payload);
  if (!record || payload.size() != sizeof(Wire)) return malformedAnswer(payload);
  return *record;
}

// An answer that AnswerFields describes.
template <typename Record>
Result<Answer<Record>> decodeAnswer(ByteView payload) {
  static_assert(countTexts<Record>() ==
                ipc::kTextLengths<typename AnswerFields<Record>::Wire>.size());
  AnswerBlock block(sizeof(Record), countTexts<Record>(), payload.size());
  auto* const record = block.template make<Record>();
  ByteView rest = payload;
  if (!fillRecord(block, *record, rest) || !rest.empty()) return malformedAnswer(payload);
  return block.Release(record);
}

// Costs as much memory as there are bytes, whatever number of nodes they announce.
template <>
Result<Answer<orva_used_nodes>> decodeAnswer(ByteView payload);

// ---- How fillRecord works

inline std::size_t textLengthAt(ByteView fixed, std::size_t offset) {
  return frontRecord<std::uint16_t>(fixed.subspan(offset)).value_or(0);
}

// Bytes of the texts whose lengths stand before `end` in the fixed part of a `Record`.
template <typename Record>
std::size_t textBytesBefore(ByteView fixed, std::size_t end) {
  std::size_t bytes = 0;
  forEachField<Record>([&](const auto& field) {
    if (field.kind == FieldKind::Text && field.offset < end) {
      bytes += textLengthAt(fixed, field.offset);
    }
  });
  return bytes;
}

template <typename Record>
constexpr std::size_t firstTextOffset() {
  std::size_t first = sizeof(typename AnswerFields<Record>::Wire);
  forEachField<Record>([&first](const auto& field) {
    if (field.kind == FieldKind::Text) first = std::min(first, field.offset);
  });
  return first;
}

template <typename Record>
constexpr bool numbersFit() {
  bool fit = true;
  forEachField<Record>([&fit](const auto& field) {
    using Value = std::remove_reference_t<decltype(std::declval<Record&>().*field.member)>;
    fit = fit && (field.kind != FieldKind::Number || field.size == sizeof(Value));
  });
  return fit;
}

template <typename Record>
bool fillRecord(AnswerBlock& block, Record& record, ByteView& bytes, std::size_t surplus) {
  static_assert(numbersFit<Record>());
  constexpr std::size_t kSize = sizeof(typename AnswerFields<Record>::Wire);
  if (bytes.size() < kSize) return false;
  const ByteView fixed = bytes.first(kSize);
  const ByteView texts = bytes.subspan(kSize);
  const std::size_t announced = textBytesBefore<Record>(fixed, kSize) + surplus;
  if (texts.size() < announced) return false;
  forEachField<Record>([&](const auto& field) {
    auto& value = record.*field.member;
    if constexpr (std::is_same_v<decltype(value), orva_text&>) {
      const bool first = field.offset == firstTextOffset<Record>();
      const std::size_t from = textBytesBefore<Record>(fixed, field.offset) + (first ? 0 : surplus);
      const std::size_t length = textLengthAt(fixed, field.offset) + (first ? surplus : 0);
      value = block.text(texts.subspan(from, length));
    } else if (field.kind == FieldKind::Number) {
      std::memcpy(&value, fixed.data() + field.offset, field.size);
    } else if constexpr (std::is_same_v<decltype(value), std::int32_t&>) {
      const ByteView flag = fixed.subspan(field.offset, field.size);
      value = std::ranges::any_of(flag, [](std::uint8_t byte) { return byte != 0; }) ? 1 : 0;
    }
  });
  bytes = texts.subspan(announced);
  return true;
}

}  // namespace orva_accelerator::client
