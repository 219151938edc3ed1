// SPDX-License-Identifier: Apache-2.0
#include "tools/alerts/Identifiers.h"

#include <utility>

#include "tools/alerts/AlertPages.h"
#include "tools/frame/Failure.h"
#include "tools/text/Joined.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

constexpr std::size_t kMostNamed = 5;

Failure noSuchAlert(const std::string& written, std::string advice) {
  return {.status = kExitFailed,
          .what = say("there is no alert {}", printable(written)),
          .advice = std::move(advice)};
}

/// Those that begin with it, a few of them when there are many.
std::vector<std::string> identifiersBeginning(Session& session, const std::string& written) {
  std::vector<std::string> found;
  AlertPages pages(session.client(), {.text = written}, {});
  for (auto page = pages.next(); !page.empty() && found.size() <= kMostNamed; page = pages.next()) {
    for (const alerts::ListItem& item : page) {
      const auto& identifier = item.alert.identifier;
      if (identifier && identifier->starts_with(written)) found.push_back(*identifier);
    }
  }
  return found;
}

std::string identifierBeginning(Session& session, const std::string& written) {
  const auto found =
      written.empty() ? std::vector<std::string>() : identifiersBeginning(session, written);
  if (found.empty()) throw noSuchAlert(written, tr("see alertsctl list"));
  if (found.size() == 1) return found.front();
  std::string names;
  for (std::size_t index = 0; index < std::min(found.size(), kMostNamed); ++index) {
    appendItem(names, ", ", printable(found[index]));
  }
  throw Failure{.status = kExitFailed,
                .what = say("more than one alert begins with {}", printable(written)),
                .advice = say("write more of it: {}", names)};
}

}  // namespace

alerts::AlertDetails alertNamed(Session& session, const std::string& written) {
  auto outcome = session.client().getAlert(written, session.language());
  if (outcome.error && outcome.error->kind == alerts::ErrorKind::kNoSuchAlert) {
    outcome = session.client().getAlert(identifierBeginning(session, written), session.language());
  }
  return required(std::move(outcome));
}

std::vector<std::string> completeIdentifiers(Session& session,
                                             const std::vector<std::string>& written) {
  std::vector<std::string> identifiers;
  for (const std::string& one : written) {
    identifiers.push_back(alertNamed(session, one).alert.identifier.value_or(one));
  }
  return identifiers;
}

}  // namespace velto
