#include "sdk/completions.h"

namespace orva_accelerator::sdk {

CodeResultHandler loginResultHandler;
CodeResultHandler stopResultHandler;
AccelResultHandler accelResultHandler;

namespace {

std::wstring textOrEmpty(const wchar_t* text) {
  return text != nullptr ? std::wstring(text) : std::wstring();
}

}  // namespace

void OnLoginResult(void* /*unused1*/, int code, void* /*unused2*/) {
  loginResultHandler(code, std::wstring());
}

void OnStopResult(void* /*unused1*/, int code, void* /*unused2*/) {
  stopResultHandler(code, std::wstring());
}

void OnAccelResult(void* /*context*/, void* /*unused*/, const KernelAccelResult* record) {
  if (!accelResultHandler || record == nullptr) return;
  SAccelResult result;
  result.value1 = record->value1;
  result.value2 = record->value2;
  result.text1 = textOrEmpty(record->text1);
  result.value3 = record->value3;
  result.value4 = record->value4;
  result.state = record->state;
  result.value5 = record->value5;
  result.text2 = textOrEmpty(record->text2);
  accelResultHandler(result);
}

}  // namespace orva_accelerator::sdk
