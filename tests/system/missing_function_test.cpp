// A library without one of its functions, in the installed service: a message box says so, and the
// process ends when somebody has dismissed it.
#include <gmock/gmock.h>

#include <optional>
#include <string>

#include "tests/system/byte_client.h"
#include "tests/system/message_box.h"

namespace orva_accelerator::test {
namespace {

// UTF-8 bytes given to the ANSI function, whatever the code page makes of them.
constexpr char kCaption[] = "\xE6\x8F\x90\xE7\xA4\xBA";

class MissingFunction : public ServiceSession {
 protected:
  void expectBoxAndEnd(const char* variant, const std::string& text) {
    simulator().copyLibrary(variant);
    ByteClient client;
    client.send(bytesFromHex(kInit));
    std::optional<std::string> shown;
    EXPECT_TRUE(waitUntil([&] { return (shown = shownMessageBox(kCaption)).has_value(); }));
    EXPECT_EQ(shown, text);
    // Nobody has called the library, and others are served meanwhile.
    EXPECT_THAT(simulator().logLines(), testing::IsEmpty());
    EXPECT_TRUE(isAliveAndAnswers());

    ASSERT_TRUE(dismissMessageBox(kCaption));
    EXPECT_EQ(waitForEnd(), 0xFFFFFFFFU);
    EXPECT_TRUE(client.pipe().endsSilently());
  }
};

TEST_F(MissingFunction, IsShownAndEndsTheServiceWhenItIsInit) {
  expectBoxAndEnd("OpenKernelWithoutInit", "dll not found api - \"Kernel_Init\"");
}

TEST_F(MissingFunction, IsShownAndEndsTheServiceWhenItIsTheLastName) {
  expectBoxAndEnd("OpenKernelWithoutLastName",
                  "dll not found api - \"Kernel_GetGameCollectNodeDataList\"");
}

}  // namespace
}  // namespace orva_accelerator::test
