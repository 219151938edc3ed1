// SPDX-License-Identifier: Apache-2.0
// `attributes`, with `get`, `set` and `unset`.

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <boost/json/array.hpp>

#include "tools/Verbs.h"
#include "tools/frame/Failure.h"
#include "tools/frame/Session.h"
#include "tools/text/Message.h"
#include "tools/text/Nearest.h"
#include "tools/text/Printable.h"
#include "tools/text/Table.h"

namespace velto {
namespace {

using Names = std::vector<std::string>;
using Attributes = std::map<std::string, std::string>;

ExitStatus list(Session& session) {
  const Attributes attributes = required(session.client().getAttributes());
  if (session.isJSON()) {
    boost::json::object object;
    for (const auto& [name, value] : attributes) {
      object[name] = value;
    }
    session.print({{"attributes", std::move(object)}});
    return kExitDone;
  }
  if (attributes.empty()) session.tell(tr("No attributes."));
  for (const auto& [name, value] : attributes) {
    session.write(session.ways().isQuiet ? printable(name) + '\n'
                                         : printable(name) + "=" + printable(value) + '\n');
  }
  return kExitDone;
}

/// Throws for the first name that there is no attribute of.
void requireAll(const Attributes& attributes, const Names& wanted) {
  Names names;
  for (const auto& [name, value] : attributes) {
    names.push_back(name);
  }
  for (const std::string& name : wanted) {
    if (attributes.contains(name)) continue;
    const std::string suggested = suggestion(name, names);
    throw Failure{.what = say("there is no attribute {}", printable(name)),
                  .advice = suggested.empty() ? tr("see alertsctl attributes") : suggested};
  }
}

ExitStatus get(Session& session, const std::string& name) {
  const Attributes attributes = required(session.client().getAttributes());
  requireAll(attributes, {name});
  const std::string& value = attributes.at(name);
  if (session.isJSON()) {
    session.print({{"attributes", {{name, value}}}});
  } else {
    // What goes into another program goes there as it is.
    session.write((session.terminal().isTerminal ? printable(value) : value) + '\n');
  }
  return kExitDone;
}

void tellNames(Session& session, const char* list, const Names& names) {
  if (session.isJSON()) {
    session.print({{list, boost::json::array(names.begin(), names.end())}});
  }
}

ExitStatus set(Session& session, const Names& assignments) {
  alerts::Value::Dictionary changes;
  Names names;
  for (const std::string& assignment : assignments) {
    const std::size_t end = assignment.find('=');
    if (end == std::string::npos || end == 0) {
      throw usageFailure(say("\"{}\" is no attribute", printable(assignment)),
                         tr("attributes are NAME=VALUE"));
    }
    names.push_back(assignment.substr(0, end));
    changes[names.back()] = assignment.substr(end + 1);
  }
  require(session.client().setAttributes(changes));
  tellNames(session, "set", names);
  const auto count = static_cast<std::int64_t>(changes.size());
  session.tell(sayCount("Set {} attribute.", "Set {} attributes.", count));
  return kExitDone;
}

ExitStatus unset(Session& session, const Names& names, bool isDry) {
  requireAll(required(session.client().getAttributes()), names);
  alerts::Value::Dictionary changes;
  for (const std::string& name : names) {
    changes[name] = alerts::Value();
  }
  const auto count = static_cast<std::int64_t>(changes.size());
  if (!isDry) {
    const auto question = sayCount("Delete {} attribute?", "Delete {} attributes?", count);
    session.confirm(question);
    require(session.client().setAttributes(changes));
  }
  tellNames(session, "unset", names);
  session.tell(isDry ? sayCount("Would delete {} attribute.", "Would delete {} attributes.", count)
                     : sayCount("Deleted {} attribute.", "Deleted {} attributes.", count));
  return kExitDone;
}

void addUnset(VerbSet& group) {
  const auto names = std::make_shared<Names>();
  const auto isDry = std::make_shared<bool>(false);
  Verb verb =
      group.add({.name = "unset",
                 .description = tr("Delete attributes"),
                 .example = "alertsctl attributes unset site"},
                [names, isDry](Session& session) { return unset(session, *names, *isDry); });
  verb.argument("NAME", *names, tr("The attributes' names"), Need::kRequired);
  verb.flag("--dry-run", *isDry, tr("Only tell what would go away"));
}

}  // namespace

void addAttributesVerbs(VerbSet& verbs) {
  VerbSet group = verbs.group({.name = "attributes",
                               .description = tr("List, tell, set and delete global attributes"),
                               .example = "alertsctl attributes set site=Berlin"},
                              list);
  const auto name = std::make_shared<std::string>();
  group
      .add({.name = "get",
            .description = tr("Print the bare value of an attribute"),
            .example = "alertsctl attributes get site"},
           [name](Session& session) { return get(session, *name); })
      .argument("NAME", *name, tr("The attribute's name"), Need::kRequired);
  const auto assignments = std::make_shared<Names>();
  group
      .add({.name = "set",
            .description = tr("Set attributes"),
            .example = "alertsctl attributes set site=Berlin floor=3"},
           [assignments](Session& session) { return set(session, *assignments); })
      .argument("ASSIGNMENT", *assignments, tr("NAME=VALUE"), Need::kRequired);
  addUnset(group);
}

}  // namespace velto
