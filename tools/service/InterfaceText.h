// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

/// What an interface description (Varlink's, https://varlink.org/Interface-Definition) says about
/// one place in a call's parameters.
struct DescribedPlace {
  /// As described, without "?"; "object" also within such a value; empty when there is no such
  /// member.
  std::string type;
  std::vector<std::string> neighbours;  ///< the names of the members where it was looked for
};

/// The place that a path such as "alerts[1].sentDate" or "settings.Disk.mailEnabled" names, in the
/// parameters of the method. Nothing when the description does not lead there. Any thread.
std::optional<DescribedPlace> placeInParameters(std::string_view description,
                                                std::string_view method, std::string_view path);

/// The names of the methods. Any thread.
std::vector<std::string> methodNames(std::string_view description);

}  // namespace velto
