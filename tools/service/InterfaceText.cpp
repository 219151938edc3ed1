// SPDX-License-Identifier: Apache-2.0
#include "tools/service/InterfaceText.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace velto {
namespace {

constexpr std::string_view kMethod = "method ";

using Members = std::vector<std::pair<std::string, std::string>>;  ///< names and types

/// Without comments, line breaks and blanks but those behind a keyword.
std::string withoutComments(std::string_view description) {
  std::istringstream lines{std::string(description)};
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    text.append(line, 0, line.find('#')) += '\n';
  }
  return text;
}

std::string trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\n";
  const auto start = text.find_first_not_of(kBlanks);
  if (start == std::string_view::npos) return {};
  return std::string(text.substr(start, text.find_last_not_of(kBlanks) + 1 - start));
}

/// "name: type, name: type" with commas of inner types in parentheses.
Members membersIn(std::string_view list) {
  Members members;
  int depth = 0;
  std::size_t start = 0;
  for (std::size_t at = 0; at <= list.size(); ++at) {
    const char one = at == list.size() ? ',' : list[at];
    depth += one == '(' ? 1 : one == ')' ? -1 : 0;
    if (one != ',' || depth > 0) continue;
    const std::string_view member = list.substr(start, at - start);
    const auto colon = member.find(':');
    if (colon != std::string_view::npos) {
      members.emplace_back(trimmed(member.substr(0, colon)), trimmed(member.substr(colon + 1)));
    }
    start = at + 1;
  }
  return members;
}

/// Those of what begins so ("type Alert"), up to the parenthesis that ends them.
std::optional<Members> membersOf(const std::string& text, const std::string& beginning) {
  auto at = text.find("\n" + beginning);
  while (at != std::string::npos &&
         text.find_first_not_of(" \t", at + 1 + beginning.size()) != text.find('(', at)) {
    at = text.find("\n" + beginning, at + 1);
  }
  if (at == std::string::npos) return std::nullopt;
  const auto open = text.find('(', at);
  int depth = 0;
  for (auto end = open; end < text.size(); ++end) {
    depth += text[end] == '(' ? 1 : text[end] == ')' ? -1 : 0;
    if (depth == 0) return membersIn(std::string_view(text).substr(open + 1, end - open - 1));
  }
  return std::nullopt;
}

/// The next name or index ("[1]") of a path, which is taken off it.
std::string takeStep(std::string_view& path) {
  if (path.starts_with('.')) path.remove_prefix(1);
  const auto end = path.starts_with('[') ? path.find(']') : path.find_first_of(".[");
  const auto length =
      end == std::string_view::npos ? path.size() : end + (path.starts_with('[') ? 1U : 0U);
  std::string step(path.substr(0, length));
  path.remove_prefix(length);
  return step;
}

std::string withoutMark(std::string_view type) {
  return std::string(type.substr(type.starts_with('?') ? 1 : 0));
}

}  // namespace

std::optional<DescribedPlace> placeInParameters(std::string_view description,
                                                std::string_view method, std::string_view path) {
  const std::string text = withoutComments(description);
  auto members = membersOf(text, std::string(kMethod).append(method));
  DescribedPlace place;
  std::string type;
  while (!path.empty()) {
    const std::string step = takeStep(path);
    if (step.empty()) return std::nullopt;
    constexpr std::string_view kList = "[]";
    constexpr std::string_view kDictionary = "[string]";
    if (members) {
      place.neighbours.clear();
      for (const auto& [name, ofMember] : *members)
        place.neighbours.push_back(name);
      const auto found = std::find_if(members->begin(), members->end(),
                                      [&](const auto& member) { return member.first == step; });
      if (found == members->end()) return path.empty() ? std::optional(place) : std::nullopt;
      type = withoutMark(found->second);
    } else if (type.starts_with(kList) && step.starts_with('[')) {
      type = withoutMark(std::string_view(type).substr(kList.size()));
    } else if (type.starts_with(kDictionary) && !step.starts_with('[')) {
      type = withoutMark(std::string_view(type).substr(kDictionary.size()));
    } else if (type == "object") {
      break;  // any value, and so is all that is in it
    } else {
      return std::nullopt;
    }
    members = membersOf(text, "type " + type);
  }
  place.type = type;
  return place;
}

std::vector<std::string> methodNames(std::string_view description) {
  std::istringstream lines{std::string(description)};
  std::vector<std::string> names;
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(kMethod)) continue;
    names.push_back(line.substr(kMethod.size(), line.find('(') - kMethod.size()));
  }
  return names;
}

}  // namespace velto
