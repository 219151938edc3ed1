// SPDX-License-Identifier: Apache-2.0
#include "tools/alerts/ValueText.h"

#include <utility>

#include <boost/json/object.hpp>

#include "client/ReplyDecoding.h"
#include "platform/connection/JSONReader.h"
#include "platform/foundation/Base64.h"
#include "tools/PrettyJSON.h"
#include "tools/frame/Failure.h"
#include "tools/frame/JSONShape.h"
#include "tools/text/JSONProblem.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"
#include "tools/text/TimeText.h"

namespace velto {
namespace {

namespace json = boost::json;

alerts::Value valueOfJSON(const std::string& name, const std::string& text) {
  const auto value = readJSON(text);
  if (!value) {
    throw usageFailure(say("{}: no JSON: {}", printable(name), jsonProblem(text)),
                       tr("for a text write NAME=TEXT"));
  }
  alerts::Value::Dictionary values;
  if (!alerts::decode(json::value(json::object{{name, *value}}), values) || value->is_null()) {
    throw usageFailure(say("{}: JSON that is no value of an attribute", printable(name)),
                       tr("dates are {\"$date\": SECONDS}, data is {\"$data\": \"BASE64\"}"));
  }
  return std::move(values.begin()->second);
}

}  // namespace

std::string valueText(const Session& session, const alerts::Value& value) {
  if (const auto* text = value.get<std::string>()) return printable(*text);
  if (const auto* date = value.get<alerts::Date>()) {
    return clockText(*date, session.ways().isUTC);
  }
  if (const auto* data = value.get<alerts::Data>()) return base64Encoded(Data(*data));
  return printable(shortJSON(asJSON(alerts::Value::Dictionary{{"v", value}}).at("v")));
}

std::pair<std::string, alerts::Value> parseAttribute(const std::string& written) {
  const std::size_t end = written.find('=');
  if (end == std::string::npos || end == 0 || written[0] == ':') {
    throw usageFailure(say("\"{}\" is no attribute", printable(written)),
                       tr("attributes are NAME=TEXT or NAME:=JSON"));
  }
  const std::string text = written.substr(end + 1);
  if (written[end - 1] != ':') return {written.substr(0, end), text};
  const std::string name = written.substr(0, end - 1);
  return {name, valueOfJSON(name, text)};
}

}  // namespace velto
