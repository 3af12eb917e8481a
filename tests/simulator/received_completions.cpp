#include "tests/simulator/received_completions.h"

#include <windows.h>

namespace orva_accelerator::test {
namespace {

std::optional<std::wstring> copyOf(const wchar_t* text) {
  if (text == nullptr) return std::nullopt;
  return std::wstring(text);
}

}  // namespace

void receiveCode(void* context, int code, void*) {
  static_cast<ReceivedCodes*>(context)->add({code, GetCurrentThreadId()});
}

void receiveResult(void* context, void*, const sdk::KernelAccelResult* record) {
  ReceivedAccelResult result;
  result.thread = GetCurrentThreadId();
  result.nullRecord = record == nullptr;
  if (record != nullptr) {
    result.value1 = record->value1;
    result.value2 = record->value2;
    result.text1 = copyOf(record->text1);
    result.value3 = record->value3;
    result.value4 = record->value4;
    result.state = record->state;
    result.value5 = record->value5;
    result.text2 = copyOf(record->text2);
  }
  static_cast<ReceivedResults*>(context)->add(std::move(result));
}

std::vector<int> codesOf(const ReceivedCodes& received) {
  std::vector<int> codes;
  for (const ReceivedCode& item : received.all()) codes.push_back(item.code);
  return codes;
}

std::vector<std::uint32_t> statesOf(const ReceivedResults& received) {
  std::vector<std::uint32_t> states;
  for (const ReceivedAccelResult& item : received.all()) states.push_back(item.state);
  return states;
}

}  // namespace orva_accelerator::test
