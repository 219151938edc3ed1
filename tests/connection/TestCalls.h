// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace velto {

// Calls of the test service, and what they are answered with.

inline constexpr const char* kEcho1 = R"({"method":"test.service.Echo","parameters":{"value":1}})";
inline constexpr const char* kEchoed1 = R"({"parameters":{"value":1}})";
inline constexpr const char* kNote = R"({"method":"test.service.Note"})";
inline constexpr const char* kWait = R"({"method":"test.service.Wait"})";

inline std::string callOf(const std::string& method, const std::string& text) {
  return R"({"method":"test.service.)" + method + R"(","parameters":{"value":")" + text + R"("}})";
}

inline std::string echoOf(const std::string& text) {
  return callOf("Echo", text);
}

inline std::string echoedText(const std::string& text) {
  return R"({"parameters":{"value":")" + text + R"("}})";
}

inline std::string countTo(int number, std::size_t size, bool more = true) {
  return R"({"method":"test.service.Count","parameters":{"to":)" + std::to_string(number) +
         R"(,"size":)" + std::to_string(size) + "}" + (more ? R"(,"more":true})" : "}");
}

}  // namespace velto
