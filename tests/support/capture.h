// Test support: run a piece of code with stderr captured and the status latch reset.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/reporter.h"

namespace nurex::test {

template <class F>
std::string captureStderr(F&& body) {
  resetStatus();
  testing::internal::CaptureStderr();
  body();
  return testing::internal::GetCapturedStderr();
}

}  // namespace nurex::test
