#include "simulator/json_object.h"

#include <limits>
#include <stdexcept>

#include "simulator/texts.h"

namespace orva_accelerator::simulator {
namespace {

// Far more than any array of the library holds; keeps a slip of the pen from eating the memory.
constexpr std::size_t kMaximumTextUnits = 1U << 20;

std::int64_t toSigned(const Json& value, const std::string& path, std::int64_t lowest,
                      std::int64_t highest) {
  if (!value.is_number_integer()) failAt(path, "a whole number is expected");
  const bool tooLarge = value.is_number_unsigned() &&
                        value.get<std::uint64_t>() > static_cast<std::uint64_t>(highest);
  if (tooLarge) failAt(path, "the number is too large");
  const auto number = value.get<std::int64_t>();
  if (number < lowest) failAt(path, "the number is too small");
  return number;
}

std::wstring repeated(const std::wstring& piece, std::uint32_t times, const std::string& path) {
  if (piece.size() * times > kMaximumTextUnits) failAt(path, "the text is too long");
  std::wstring text;
  text.reserve(piece.size() * times);
  for (std::uint32_t i = 0; i < times; ++i) text += piece;
  return text;
}

}  // namespace

void failAt(const std::string& path, const std::string& message) {
  throw std::runtime_error((path.empty() ? std::string("the file") : path) + ": " + message);
}

std::uint32_t toU32(const Json& value, const std::string& path) {
  return static_cast<std::uint32_t>(toSigned(value, path, std::numeric_limits<std::int32_t>::min(),
                                             std::numeric_limits<std::uint32_t>::max()));
}

std::int32_t toI32(const Json& value, const std::string& path) {
  return static_cast<std::int32_t>(toSigned(value, path, std::numeric_limits<std::int32_t>::min(),
                                            std::numeric_limits<std::int32_t>::max()));
}

std::uint64_t toU64(const Json& value, const std::string& path) {
  if (!value.is_number_unsigned()) failAt(path, "a whole number of 0 or more is expected");
  return value.get<std::uint64_t>();
}

bool toBool(const Json& value, const std::string& path) {
  if (!value.is_boolean()) failAt(path, "true or false is expected");
  return value.get<bool>();
}

std::wstring toText(const Json& value, const std::string& path) {
  if (value.is_string()) return fromUtf8(value.get_ref<const std::string&>());
  if (!value.is_object()) failAt(path, "a text is expected");
  JsonObject object(value, path);
  std::wstring text;
  if (object.readEach("units", [&text](const Json& unit, const std::string& unitPath) {
        text += static_cast<wchar_t>(toSigned(unit, unitPath, 0, 0xFFFF));
      })) {
    object.finish();
    return text;
  }
  std::uint32_t times = 1;
  object.read("repeat", text);
  object.read("times", times);
  object.finish();
  return repeated(text, times, path);
}

void forEachElement(const Json& value, const std::string& path,
                    const std::function<void(const Json&, const std::string&)>& read) {
  if (!value.is_array()) failAt(path, "a list is expected");
  for (std::size_t i = 0; i < value.size(); ++i) {
    read(value[i], path + "[" + std::to_string(i) + "]");
  }
}

JsonObject::JsonObject(const Json& value, std::string path)
    : value_(value), path_(std::move(path)) {
  if (!value_.is_object()) failAt(path_, "an object is expected");
}

const Json* JsonObject::find(std::string_view key) {
  known_.emplace(key);
  const auto found = value_.find(key);
  return found == value_.end() ? nullptr : &*found;
}

std::string JsonObject::pathOf(std::string_view key) const {
  return path_.empty() ? std::string(key) : path_ + "." + std::string(key);
}

void JsonObject::read(std::string_view key, std::uint32_t& target) {
  if (const Json* value = find(key)) target = toU32(*value, pathOf(key));
}

void JsonObject::read(std::string_view key, std::int32_t& target) {
  if (const Json* value = find(key)) target = toI32(*value, pathOf(key));
}

void JsonObject::read(std::string_view key, std::uint64_t& target) {
  if (const Json* value = find(key)) target = toU64(*value, pathOf(key));
}

void JsonObject::read(std::string_view key, std::uint8_t& target) {
  if (const Json* value = find(key)) {
    target = static_cast<std::uint8_t>(toSigned(*value, pathOf(key), 0, 0xFF));
  }
}

void JsonObject::read(std::string_view key, bool& target) {
  if (const Json* value = find(key)) target = toBool(*value, pathOf(key));
}

void JsonObject::read(std::string_view key, std::wstring& target) {
  if (const Json* value = find(key)) target = toText(*value, pathOf(key));
}

bool JsonObject::readEach(std::string_view key,
                          const std::function<void(const Json&, const std::string&)>& reader) {
  const Json* value = find(key);
  if (value == nullptr) return false;
  forEachElement(*value, pathOf(key), reader);
  return true;
}

void JsonObject::finish() const {
  for (const auto& [key, value] : value_.items()) {
    if (!known_.contains(key)) failAt(pathOf(key), "there is no such key");
  }
}

}  // namespace orva_accelerator::simulator
