#include "client/c/boundary.h"

#include <gmock/gmock.h>

#include <cstring>
#include <set>
#include <stdexcept>
#include <string>

namespace orva_accelerator::client {
namespace {

using testing::HasSubstr;

// With something in every field that a function must overwrite.
orva_error Dirty() {
  orva_error error;
  std::memset(&error, 0xEE, sizeof(error));
  return error;
}

// What a C function makes of it when its body fails with `text`.
orva_error Failing(ErrorKind kind, std::uint32_t win32Code, const std::string& text) {
  orva_error error = Dirty();
  const orva_code code = guarded("function", &error, {}, [&]() -> Result<Done> {
    return Error{kind, "do it", win32Code, text};
  });
  EXPECT_EQ(code, error.code);
  return error;
}

TEST(CBoundary, FillsInTheErrorOfASuccessToo) {
  orva_error error = Dirty();
  EXPECT_EQ(guarded("function", &error, {}, [] { return Result<Done>(Done{}); }), ORVA_OK);
  EXPECT_EQ(error.code, ORVA_OK);
  EXPECT_EQ(error.win32_code, 0u);
  EXPECT_EQ(error.text_length, 0u);
  EXPECT_EQ(error.text[0], '\0');
}

TEST(CBoundary, HandsOnWhatWentWrong) {
  const orva_error error = Failing(ErrorKind::NotRunning, 2, "the service is not running");
  EXPECT_EQ(error.code, ORVA_ERROR_NOT_RUNNING);
  EXPECT_EQ(error.win32_code, 2u);
  EXPECT_STREQ(error.text, "Could not do it: the service is not running (Win32 error 2)");
  EXPECT_EQ(error.text_length, std::strlen(error.text));
}

TEST(CBoundary, HasACodeOfItsOwnForEveryKindOfError) {
  std::set<orva_code> codes;
  for (const auto kind :
       {ErrorKind::Usage, ErrorKind::NotInstalled, ErrorKind::NotRunning, ErrorKind::NotTheService,
        ErrorKind::HungUp, ErrorKind::Timeout, ErrorKind::Refused, ErrorKind::Protocol,
        ErrorKind::System, ErrorKind::Interrupted}) {
    codes.insert(Failing(kind, 0, "").code);
  }
  EXPECT_EQ(codes, (std::set<orva_code>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST(CBoundary, TurnsExceptionsIntoCodes) {
  orva_error error = Dirty();
  EXPECT_EQ(guarded("function", &error, {}, []() -> Result<Done> { throw std::bad_alloc(); }),
            ORVA_ERROR_MEMORY);
  EXPECT_EQ(error.code, ORVA_ERROR_MEMORY);
  EXPECT_EQ(error.win32_code, 0u);
  EXPECT_STREQ(error.text, orva_code_text(ORVA_ERROR_MEMORY));
  EXPECT_EQ(
      guarded("function", &error, {}, []() -> Result<Done> { throw std::runtime_error("any"); }),
      ORVA_ERROR_INTERNAL);
  EXPECT_EQ(error.code, ORVA_ERROR_INTERNAL);
  EXPECT_EQ(guarded("function", &error, {}, []() -> Result<Done> { throw 7; }),
            ORVA_ERROR_INTERNAL);
}

TEST(CBoundary, NeedsNoErrorToReportTo) {
  EXPECT_EQ(guarded("function", nullptr, {},
                    []() -> Result<Done> { return Error{ErrorKind::Timeout, "", 0, ""}; }),
            ORVA_ERROR_TIMEOUT);
  EXPECT_EQ(guarded("function", nullptr, {}, []() -> Result<Done> { throw std::bad_alloc(); }),
            ORVA_ERROR_MEMORY);
  EXPECT_EQ(guarded("function", nullptr, {}, [] { return Result<Done>(Done{}); }), ORVA_OK);
}

TEST(CBoundary, CutsATextThatIsTooLong) {
  const orva_error error = Failing(ErrorKind::System, 0, std::string(1000, 'x'));
  EXPECT_EQ(error.text_length, sizeof(error.text) - 1);
  EXPECT_EQ(error.text[sizeof(error.text) - 1], '\0');
  EXPECT_THAT(error.text, HasSubstr("Could not do it: xxx"));
}

TEST(CBoundary, LeavesATextWholeThatJustFits) {
  const std::string start = "Could not do it: ";
  const std::string text(sizeof(orva_error::text) - 1 - start.size(), 'x');
  EXPECT_EQ(Failing(ErrorKind::System, 0, text).text, start + text);
}

TEST(CBoundary, CutsATextBetweenCharacters) {
  // "Could not do it: " has 17 bytes, and one character three: the cut would be inside of one for
  // at least two of these.
  for (const std::string before : {"", "x", "xx"}) {
    std::string text = before;
    for (int i = 0; i < 300; ++i) text += "\xE6\xB8\xB8";
    const orva_error error = Failing(ErrorKind::System, 0, text);
    const std::size_t characters = error.text_length - 17 - before.size();
    EXPECT_EQ(characters % 3, 0u);
    EXPECT_GT(error.text_length, sizeof(error.text) - 4);
    EXPECT_EQ(std::strlen(error.text), error.text_length);
  }
}

TEST(CBoundary, DoesNotRunTheBodyWithoutANeededArgument) {
  bool ran = false;
  const auto body = [&] {
    ran = true;
    return Result<Done>(Done{});
  };
  orva_error error = Dirty();
  EXPECT_EQ(guarded("function", &error, {{&ran, "first"}, {nullptr, "second"}}, body),
            ORVA_ERROR_USAGE);
  EXPECT_FALSE(ran);
  EXPECT_STREQ(error.text, "Could not call function: second is NULL");
  EXPECT_EQ(guarded("function", &error, {textArgument(nullptr, 1, "text")}, body),
            ORVA_ERROR_USAGE);
  EXPECT_EQ(guarded("function", &error, {textArgument(nullptr, 0, "text")}, body), ORVA_OK);
  EXPECT_TRUE(ran);
}

TEST(CCodes, HaveATextEach) {
  std::set<std::string> texts;
  for (orva_code code = ORVA_OK; code <= ORVA_ERROR_INTERNAL; ++code) {
    texts.insert(orva_code_text(code));
  }
  EXPECT_EQ(texts.size(), 13u);
  for (const orva_code unknown : {-1, 13, INT32_MIN, INT32_MAX}) {
    EXPECT_STREQ(orva_code_text(unknown), "an unknown code");
  }
}

}  // namespace
}  // namespace orva_accelerator::client
