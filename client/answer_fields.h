// The one description of every answer and notification: its fields by name, what each is, and where
// it is in the wire record.
//
// Decoding, the C interface's records and what orvactl prints are all made from these lists. They
// are in the order in which people and programs are shown the fields; texts travel in the order of
// their length fields, whatever the order here.
#pragma once

#include <cstddef>
#include <tuple>

#include "client/include/orva_answers.h"
#include "ipc/wire/notifications.h"
#include "ipc/wire/responses.h"

namespace orva_accelerator::client {

enum class FieldKind {
  Number,   // Or an array of numbers, shown one by one.
  Flag,     // 0 or 1, whatever travels for it.
  Text,     // `offset` is that of its length.
  Derived,  // A flag that is made of other fields and does not travel.
};

template <typename Record, typename Value>
struct AnswerField {
  const char* name;  // As on the wire.
  FieldKind kind;
  Value Record::* member;
  std::size_t offset;  // In the wire record.
  std::size_t size;
};

// `Wire` is the record that travels, `kAll` its fields.
template <typename Record>
struct AnswerFields;

// The other way: `Type` is the record for the one that travels.
template <typename WireRecord>
struct FlatOf;

#define ORVA_NUMBER(member, name)                                                     \
  AnswerField {                                                                       \
    #name, FieldKind::Number, &Flat::member, offsetof(Wire, name), sizeof(Wire::name) \
  }
#define ORVA_FLAG(member, name)                                                     \
  AnswerField {                                                                     \
    #name, FieldKind::Flag, &Flat::member, offsetof(Wire, name), sizeof(Wire::name) \
  }
#define ORVA_TEXT(member, name)                                          \
  AnswerField {                                                          \
    #name, FieldKind::Text, &Flat::member, offsetof(Wire, name##Length), \
        sizeof(Wire::name##Length)                                       \
  }
#define ORVA_ANSWER(Record, WireRecord, ...)              \
  template <>                                             \
  struct AnswerFields<Record> {                           \
    using Flat = Record;                                  \
    using Wire = ipc::WireRecord;                         \
    static constexpr auto kAll = std::tuple{__VA_ARGS__}; \
  };                                                      \
  template <>                                             \
  struct FlatOf<ipc::WireRecord> {                        \
    using Type = Record;                                  \
  };

ORVA_ANSWER(orva_owner, AccelOwnerResponse, ORVA_FLAG(any_acceleration, anyAcceleration),
            ORVA_FLAG(owned_by_caller, ownedByCaller))

ORVA_ANSWER(orva_leave_outcome, ClientLeavingResponse, ORVA_FLAG(last_client, lastClient),
            ORVA_NUMBER(remaining_clients, remainingClients))

ORVA_ANSWER(orva_accel_data, AccelDataResponse, ORVA_NUMBER(value1, value1),
            ORVA_NUMBER(value2, value2), ORVA_NUMBER(value3, value3), ORVA_TEXT(text3, text3),
            ORVA_NUMBER(value4, value4), ORVA_NUMBER(value5, value5), ORVA_NUMBER(value6, value6),
            ORVA_NUMBER(value8, value8), ORVA_NUMBER(value9, value9), ORVA_NUMBER(value10, value10))

ORVA_ANSWER(orva_console_data, ConsoleDataResponse, ORVA_NUMBER(status, status),
            ORVA_NUMBER(console1, console1), ORVA_NUMBER(console2, console2),
            ORVA_NUMBER(console3, console3), ORVA_NUMBER(console4, console4),
            ORVA_NUMBER(console5, console5), ORVA_FLAG(console_flag, consoleFlag))

ORVA_ANSWER(orva_last_accel_info, GameLastAccelInfoResponse, ORVA_NUMBER(status, status),
            ORVA_NUMBER(area_id, areaId), ORVA_NUMBER(node_id, nodeId),
            ORVA_FLAG(info_flag, infoFlag), ORVA_NUMBER(info_value, infoValue),
            ORVA_TEXT(info_text, infoText), ORVA_TEXT(server_key, serverKey))

ORVA_ANSWER(orva_speed_summary, TestSpeedResponse, ORVA_NUMBER(status, status),
            ORVA_NUMBER(summary, summary))

ORVA_ANSWER(orva_game_info, GameAccelInfoResponse, ORVA_NUMBER(status, status),
            ORVA_NUMBER(game_id, gameId), ORVA_TEXT(game_text, gameText),
            ORVA_NUMBER(area_id, areaId), ORVA_TEXT(server_key, serverKey),
            ORVA_TEXT(server_text, serverText), ORVA_NUMBER(node_id, nodeId),
            ORVA_TEXT(node_text, nodeText), ORVA_NUMBER(node_value1, nodeValue1),
            ORVA_NUMBER(node_value2, nodeValue2), ORVA_FLAG(info_flag, infoFlag),
            ORVA_NUMBER(info_value, infoValue), ORVA_TEXT(info_text, infoText),
            ORVA_NUMBER(reserved_word, reservedWord), ORVA_NUMBER(reserved_long, reservedLong))

// Of the list itself only the status is a field.
ORVA_ANSWER(orva_used_nodes, UsedNodeListResponse, ORVA_NUMBER(status, status))

ORVA_ANSWER(orva_used_node, UsedNodeBlock, ORVA_NUMBER(used1, used1), ORVA_NUMBER(used2, used2),
            ORVA_TEXT(used_text1, usedText1), ORVA_NUMBER(used3, used3),
            ORVA_TEXT(used_text2, usedText2), ORVA_NUMBER(used4, used4))

ORVA_ANSWER(orva_accel_result, AccelResultPayload, ORVA_NUMBER(value1, value1),
            ORVA_NUMBER(value2, value2), ORVA_TEXT(text1, text1), ORVA_NUMBER(value3, value3),
            ORVA_NUMBER(state, state), ORVA_NUMBER(value4, value4), ORVA_NUMBER(value5, value5),
            ORVA_TEXT(text2, text2))

ORVA_ANSWER(orva_stop_result, StopResultPayload, ORVA_FLAG(success, success),
            ORVA_NUMBER(code, code), ORVA_TEXT(text, text))

ORVA_ANSWER(orva_login_result, LoginResultPayload,
            AnswerField{"success", FieldKind::Derived, &Flat::success, 0, 0},
            ORVA_NUMBER(code, code), ORVA_TEXT(text, text))

#undef ORVA_NUMBER
#undef ORVA_FLAG
#undef ORVA_TEXT
#undef ORVA_ANSWER

// Calls `use` with each field of the record's description.
template <typename Record, typename Use>
constexpr void forEachField(const Use& use) {
  std::apply([&use](const auto&... field) { (use(field), ...); }, AnswerFields<Record>::kAll);
}

template <typename Record>
constexpr std::size_t countTexts() {
  std::size_t count = 0;
  forEachField<Record>([&count](const auto& field) { count += field.kind == FieldKind::Text; });
  return count;
}

}  // namespace orva_accelerator::client
