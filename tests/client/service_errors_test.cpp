#include "client/service_errors.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace orva_accelerator::test {
namespace {

using client::Error;
using client::ErrorKind;
using client::serviceError;

TEST(ServiceErrors, SayWhatToDoAboutEachRefusal) {
  struct Expected {
    DWORD code;
    ErrorKind kind;
    const char* word;
  };
  for (const Expected& expected :
       {Expected{ERROR_ACCESS_DENIED, ErrorKind::Refused, "access is denied"},
        Expected{ERROR_SERVICE_REQUEST_TIMEOUT, ErrorKind::Timeout, "did not report"},
        Expected{ERROR_SERVICE_ALREADY_RUNNING, ErrorKind::Refused, "running already"},
        Expected{ERROR_SERVICE_DISABLED, ErrorKind::Refused, "start= demand"},
        Expected{ERROR_SERVICE_DOES_NOT_EXIST, ErrorKind::NotInstalled, "not installed"},
        Expected{ERROR_SERVICE_CANNOT_ACCEPT_CTRL, ErrorKind::Refused, "try again"},
        Expected{ERROR_SERVICE_NOT_ACTIVE, ErrorKind::NotRunning, "not running"},
        Expected{ERROR_SERVICE_MARKED_FOR_DELETE, ErrorKind::Refused, "being deleted"}}) {
    const Error error = serviceError("start the service", expected.code);
    EXPECT_EQ(error.kind, expected.kind) << expected.code;
    EXPECT_EQ(error.win32Code, expected.code);
    EXPECT_EQ(error.step, "start the service");
    EXPECT_NE(error.text.find(expected.word), std::string::npos) << error.text;
  }
}

TEST(ServiceErrors, KeepTheCodeOfARefusalThatNobodyKnows) {
  const Error error = serviceError("stop the service", ERROR_INVALID_HANDLE);
  EXPECT_EQ(error.kind, ErrorKind::System);
  EXPECT_EQ(error.win32Code, DWORD{ERROR_INVALID_HANDLE});
}

}  // namespace
}  // namespace orva_accelerator::test
