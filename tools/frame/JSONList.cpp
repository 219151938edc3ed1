// SPDX-License-Identifier: Apache-2.0
#include "tools/frame/JSONList.h"

#include <string>

#include "tools/PrettyJSON.h"

namespace velto {

JSONList::JSONList(Session& session, std::string_view name) : session_(session) {
  const bool isPretty = session_.ways().json == JSONForm::kPretty;
  session_.write((isPretty ? "{\n  \"" : "{\"") + std::string(name) +
                 (isPretty ? "\": [" : "\":["));
}

JSONList::~JSONList() {
  const bool isPretty = session_.ways().json == JSONForm::kPretty;
  session_.write(!isPretty ? "]}\n" : isEmpty_ ? "]\n}\n" : "\n  ]\n}\n");
}

void JSONList::add(const boost::json::value& element) {
  if (!isEmpty_) session_.write(",");
  isEmpty_ = false;
  if (session_.ways().json == JSONForm::kPretty) {
    session_.write("\n    " + prettyJSON(element, 2));
  } else {
    session_.write(shortJSON(element));
  }
}

}  // namespace velto
