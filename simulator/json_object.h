// Strict reading of JSON objects: every key must be asked for, every value must fit.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace orva_accelerator::simulator {

using Json = nlohmann::json;

// Raises std::runtime_error: "functions.Kernel_Init.blockMs: a number is expected".
[[noreturn]] void failAt(const std::string& path, const std::string& message);

// Numbers of 32 bits may be written with their sign; -5 is then 0xFFFFFFFB.
std::uint32_t toU32(const Json& value, const std::string& path);
std::int32_t toI32(const Json& value, const std::string& path);
std::uint64_t toU64(const Json& value, const std::string& path);
bool toBool(const Json& value, const std::string& path);
// "text", {"repeat": "text", "times": n} or {"units": [n, ...]}.
std::wstring toText(const Json& value, const std::string& path);

// Calls `read` with each element and its path.
void forEachElement(const Json& value, const std::string& path,
                    const std::function<void(const Json&, const std::string&)>& read);

class JsonObject {
 public:
  // `value` and what it holds must outlive this object.
  JsonObject(const Json& value, std::string path);

  // The value of an optional key, or null.
  const Json* find(std::string_view key);
  std::string pathOf(std::string_view key) const;

  void read(std::string_view key, std::uint32_t& target);
  void read(std::string_view key, std::int32_t& target);
  void read(std::string_view key, std::uint64_t& target);
  void read(std::string_view key, std::uint8_t& target);
  void read(std::string_view key, bool& target);
  void read(std::string_view key, std::wstring& target);
  template <typename Value>
  void read(std::string_view key, std::optional<Value>& target) {
    if (find(key) == nullptr) return;
    Value value{};
    read(key, value);
    target = std::move(value);
  }
  // Calls `reader` with each element of an array and its path; true when the key is there.
  bool readEach(std::string_view key,
                const std::function<void(const Json&, const std::string&)>& reader);

  // Raises an error for a key that nobody asked for.
  void finish() const;

 private:
  const Json& value_;
  std::string path_;
  std::set<std::string, std::less<>> known_;
};

}  // namespace orva_accelerator::simulator
