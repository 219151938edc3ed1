// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace velto {

/// Appends the JSON of a dictionary in the binary form: what appendJSON makes of the value that is
/// read from it, without making the value. Only of dictionaries as the writer makes them: keys in
/// order, none of them reserved, and nothing absent. Of anything else false, with the text as it
/// was; then the value has to be read. Any thread.
bool appendPlainJSON(std::string& text, std::string_view bytes);

}  // namespace velto
