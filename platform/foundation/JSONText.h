// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

// JSON (RFC 8259) written straight into a text. Long lists are most of what the service writes, and
// Boost.JSON, which clients read replies with, builds a value in memory before it writes one.
// Writers that do not (RapidJSON's, yajl's) would each be another dependency for these few
// functions.

void appendJSON(std::string& text, bool value);
void appendJSON(std::string& text, std::int64_t value);
void appendJSON(std::string& text, std::uint64_t value);
/// So that it reads back as the same real, also when it is whole. JSON has no numbers beyond the
/// finite ones: those are null.
void appendJSON(std::string& text, double value);
/// In quotes. Bytes that are not UTF-8 stay as they are.
void appendJSON(std::string& text, std::string_view value);
inline void appendJSON(std::string& text, const std::string& value) {
  appendJSON(text, std::string_view(value));
}
/// The same for a text that should be ASCII: false, with nothing appended, when it is not.
bool appendASCIIJSON(std::string& text, std::string_view value);
/// A pointer would be taken for a boolean.
inline void appendJSON(std::string& text, const char* value) {
  appendJSON(text, std::string_view(value));
}

template <typename T>
void appendJSON(std::string& text, const std::vector<T>& values);
template <typename T>
void appendJSON(std::string& text, const std::map<std::string, T>& values);

/// The name of a member that is written often, with all that belongs to it. It needs no escape.
class MemberName {
 public:
  template <std::size_t kSize>
  explicit consteval MemberName(const char (&name)[kSize]) : size_(kSize + 3) {
    text_[0] = ',';
    text_[1] = '"';
    std::copy_n(name, kSize - 1, text_.begin() + 2);
    text_[kSize + 1] = '"';
    text_[kSize + 2] = ':';
  }

  /// As it stands behind another member.
  std::string_view text() const { return {text_.data(), size_}; }

 private:
  std::array<char, 24> text_{};
  std::size_t size_;
};

/// Writes an object, member by member.
class JSONObjectText {
 public:
  /// `text` must outlive this object.
  explicit JSONObjectText(std::string& text) : text_(text) { text_ += '{'; }

  /// What is appended to the text next is the member's value.
  void beginMember(std::string_view name);
  void beginMember(const MemberName& name) {
    text_ += name.text().substr(isEmpty_ ? 1 : 0);
    isEmpty_ = false;
  }
  /// A value of any kind that there is an appendJSON for.
  template <typename Name, typename T>
  void add(const Name& name, const T& value) {
    beginMember(name);
    appendJSON(text_, value);
  }
  /// What is absent is left out.
  template <typename Name, typename T>
  void add(const Name& name, const std::optional<T>& value) {
    if (value) {
      add(name, *value);
    }
  }
  void end() { text_ += '}'; }

 private:
  std::string& text_;
  bool isEmpty_ = true;
};

/// What is appended next is an element of the array that the text ends with, behind the elements
/// that it has. They may have been taken away, but not the bracket alone.
inline void beginElement(std::string& text) {
  if (!text.ends_with('[')) {
    text += ',';
  }
}

template <typename T>
void appendJSON(std::string& text, const std::vector<T>& values) {
  text += '[';
  for (const T& value : values) {
    beginElement(text);
    appendJSON(text, value);
  }
  text += ']';
}

template <typename T>
void appendJSON(std::string& text, const std::map<std::string, T>& values) {
  JSONObjectText object(text);
  for (const auto& [key, value] : values) {
    object.add(key, value);
  }
  object.end();
}

}  // namespace velto
