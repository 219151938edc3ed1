#pragma once

#include <string>
#include <string_view>

namespace velto {

/// The language of a new mail recipient, from the last part of its address: ".fr" speaks French.
/// The preferred localization for a part that is not in the table, which is matched exactly as it
/// is written. Any thread.
std::string defaultLocalizationForEmailAddress(std::string_view address);

}  // namespace velto
