#pragma once
// The one line the established client writes to stderr after a failed
// transfer: its fixed prefix, libcurl's reason, a single line end.
#include <gtest/gtest.h>

#include <string>

inline void ExpectOneTransferFailureLine(const std::string& text) {
  const std::string prefix = "curl_easy_perform() failed: ";
  EXPECT_EQ(text.rfind(prefix, 0), 0u) << text;
  EXPECT_GT(text.size(), prefix.size() + 1) << "no reason given: " << text;
  EXPECT_EQ(text.find('\n'), text.size() - 1) << "not exactly one line: " << text;
}
