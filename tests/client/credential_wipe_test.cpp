// No block of memory that the library gives back has a credential in it. The program's global
// operators are replaced, so nothing else is tested here.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "client/service_client.h"
#include "tests/client/deadlines.h"
#include "tests/client/fake_service.h"
#include "tests/support/credential_watch.h"

namespace orva_accelerator::client {
namespace {

using test::kSecret;
using test::leaksOf;

class Credential : public testing::Test {
 protected:
  // The client lives no longer than the watch.
  Result<Done> login(std::string_view account, std::chrono::milliseconds timeout) {
    auto channel = RequestChannel::open(Endpoint{service_.requestPipe(), false}, patient());
    if (!channel) return channel.error();
    ServiceClient client(std::move(channel.value()), 7, timeout);
    return client.login({account, kSecret});
  }

  test::FakeService service_;
};

TEST(CredentialWatch, SeesACredentialThatIsLeftBehind) {
  EXPECT_EQ(leaksOf([] { const std::string copy(kSecret); }), 1);
}

TEST_F(Credential, IsWipedAfterTheLogin) {
  service_.answerWith("user_login");
  EXPECT_EQ(leaksOf([&] { EXPECT_TRUE(login("player", test::kPatience).ok()); }), 0);
  const auto requests = service_.requests();
  ASSERT_EQ(requests.size(), 1u);
  const std::string sent(requests[0].begin(), requests[0].end());
  EXPECT_NE(sent.find(kSecret), std::string::npos);
}

TEST_F(Credential, IsWipedAfterALoginThatIsNeverAnswered) {
  service_.answer(0x101, {});
  EXPECT_EQ(leaksOf([&] {
              EXPECT_EQ(login("player", std::chrono::milliseconds(50)).error().kind,
                        ErrorKind::Timeout);
            }),
            0);
}

TEST_F(Credential, IsWipedAfterALoginThatCannotBeSent) {
  const std::string tooLong(65'536, 'a');
  EXPECT_EQ(
      leaksOf([&] { EXPECT_EQ(login(tooLong, test::kPatience).error().kind, ErrorKind::Usage); }),
      0);
}

}  // namespace
}  // namespace orva_accelerator::client
