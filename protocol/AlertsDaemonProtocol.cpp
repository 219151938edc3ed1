// SPDX-License-Identifier: Apache-2.0
// The table of the protocol's methods, and what turns a call into an operation and back.

#include <array>
#include <memory>
#include <tuple>
#include <utility>

#include "protocol/CallParameters.h"
#include "protocol/InterfaceDescriptions.h"
#include "protocol/JSONCoding.h"
#include "protocol/ReplyText.h"
#include "protocol/VLAlertsDaemon.h"

namespace velto {
namespace {

template <std::size_t N>
using Names = std::array<std::string_view, N>;

/// Reads one argument. The white-list is that of the first. A call that would cost too much is
/// wrong with the parameter as a whole.
template <std::size_t Index, typename Arguments>
WrongPath decodeArgument(JSONSource& source, const ArgumentClasses* classes, Arguments& arguments) {
  WrongPath wrong =
      decodeOptional(source, Index == 0 ? classes : nullptr, std::get<Index>(arguments));
  return source.budget.isExceeded() ? WrongPath("") : wrong;
}

/// Fills the arguments; the path of what does not fit, if there is something.
template <typename Arguments, std::size_t... Index>
WrongPath decodeArguments(const Invocation& invocation, const Names<sizeof...(Index)>& names,
                          Arguments& arguments, std::index_sequence<Index...>) {
  const std::array<JSONMember<Arguments>, sizeof...(Index)> members{
      {{names[Index], decodeArgument<Index, Arguments>}...}};
  return decodeParameters(invocation, arguments, members);
}

/// Makes the reply block of one call. It may be copied, and the promise is one: a second call, of
/// whichever copy, is a mistake of the program.
void makeReplyBlock(ErrorReply& reply, std::shared_ptr<ReplyPromise> promise,
                    std::string_view /*result*/) {
  reply = [promise = std::move(promise)](const std::optional<Error>& error) {
    promise->keepWith([&] { return replyWith(error); });
  };
}

template <typename Result>
void makeReplyBlock(Reply<Result>& reply, std::shared_ptr<ReplyPromise> promise,
                    std::string_view result) {
  reply = [promise = std::move(promise), result](std::optional<Result> data,
                                                 std::optional<Error> error) {
    promise->keepWith([&] { return replyWith(result, std::move(data), std::move(error)); });
  };
}

template <typename... Arguments>
void perform(const Invocation& invocation, ReplyPromise promise, std::string_view result,
             void (VLAlertsDaemon::*operation)(Arguments...), std::tuple<Arguments...>& arguments) {
  makeReplyBlock(std::get<sizeof...(Arguments) - 1>(arguments),
                 std::make_shared<ReplyPromise>(std::move(promise)), result);
  auto& object = static_cast<VLAlertsDaemon&>(invocation.object);
  std::apply([&](auto&... argument) { (object.*operation)(std::move(argument)...); }, arguments);
}

/// The row of one operation: its parameters' names in order, and the name of the data that it
/// replies, if any.
template <typename... Arguments>
ProtocolMethod row(std::string_view selector, std::string_view wireName,
                   Names<sizeof...(Arguments) - 1> names,
                   void (VLAlertsDaemon::*operation)(Arguments...), std::string_view result = {},
                   Pace pace = Pace::kUsual) {
  return {selector, wireName,
          [names, operation, result](const Invocation& invocation, ReplyPromise promise) {
            std::tuple<Arguments...> arguments;
            const auto wrong = decodeArguments(
                invocation, names, arguments, std::make_index_sequence<sizeof...(Arguments) - 1>());
            if (wrong) {
              promise.keep(CallReply::invalidParameter(*wrong));
            } else {
              perform(invocation, std::move(promise), result, operation, arguments);
            }
          },
          pace};
}

std::vector<ProtocolMethod> methodTable() {
  using D = VLAlertsDaemon;
  return {
      row("getAttributesWithCallback:", "GetAttributes", {}, &D::getAttributes, "attributes",
          Pace::kQuick),
      row("setAttributes:callback:", "SetAttributes", {"attributes"}, &D::setAttributes),
      row("postAlert:callback:", "PostAlert", {"alert"}, &D::postAlert, {}, Pace::kWaits),
      row("saveAlerts:callback:", "SaveAlerts", {"alerts"}, &D::saveAlerts),
      row("markAlertAsReadWithAlertId:callback:", "MarkAlertAsReadWithAlertId", {"alertId"},
          &D::markAlertAsReadWithAlertId),
      row("markAlertAsResolvedWithAlertId:callback:", "MarkAlertAsResolvedWithAlertId", {"alertId"},
          &D::markAlertAsResolvedWithAlertId),
      row("performRecoveryAction:forAlertId:callback:", "PerformRecoveryAction",
          {"action", "alertId"}, &D::performRecoveryAction, {}, Pace::kWaits),
      row("getAlertsFromDate:toDate:callback:", "GetAlertsFromDate", {"fromDate", "toDate"},
          &D::getAlertsFromDate, "alerts", Pace::kWaits),
      row("getAlertsOfType:callback:", "GetAlertsOfType", {"type"}, &D::getAlertsOfType, "alerts"),
      row("getAlertsOfBundle:callback:", "GetAlertsOfBundle", {"bundle"}, &D::getAlertsOfBundle,
          "alerts"),
      row("getLastAlertOfType:callback:", "GetLastAlertOfType", {"type"}, &D::getLastAlertOfType,
          "alert", Pace::kQuick),
      row("getLastAlertOfBundle:callback:", "GetLastAlertOfBundle", {"bundle"},
          &D::getLastAlertOfBundle, "alert", Pace::kQuick),
      row("deleteAlertsBeforeDate:callback:", "DeleteAlertsBeforeDate", {"date"},
          &D::deleteAlertsBeforeDate, "count"),
      row("deleteAlertsWithIds:callback:", "DeleteAlertsWithIds", {"alertIds"},
          &D::deleteAlertsWithIds),
      row("deleteUnsupportedAlertsWithCallback:", "DeleteUnsupportedAlerts", {},
          &D::deleteUnsupportedAlerts, "count"),
      row("enableAlertBundle:callback:", "EnableAlertBundle", {"bundle"}, &D::enableAlertBundle),
      row("disableAlertBundle:callback:", "DisableAlertBundle", {"bundle"}, &D::disableAlertBundle),
      row("getAlertBundleNamesWithCallback:", "GetAlertBundleNames", {}, &D::getAlertBundleNames,
          "names", Pace::kQuick),
      row("getAlertBundleSettingsWithCallback:", "GetAlertBundleSettings", {},
          &D::getAlertBundleSettings, "settings", Pace::kQuick),
      row("setAlertBundleSettings:callback:", "SetAlertBundleSettings", {"settings"},
          &D::setAlertBundleSettings),
      row("getMailRecipientsWithCallback:", "GetMailRecipients", {}, &D::getMailRecipients,
          "recipients", Pace::kQuick),
      row("setMailRecipients:callback:", "SetMailRecipients", {"recipients"},
          &D::setMailRecipients),
      row("addMailRecipients:callback:", "AddMailRecipients", {"recipients"},
          &D::addMailRecipients),
      row("getPushRecipientsWithCallback:", "GetPushRecipients", {}, &D::getPushRecipients,
          "recipients", Pace::kQuick),
      row("setPushRecipients:callback:", "SetPushRecipients", {"recipients"},
          &D::setPushRecipients),
      row("addPushRecipients:callback:", "AddPushRecipients", {"recipients"},
          &D::addPushRecipients),
  };
}

}  // namespace

const Protocol& alertsDaemonProtocol() {
  static const Protocol protocol{.name = "com.ulmora.velto.AlertsDaemon",
                                 .description = kAlertsDaemonDescription,
                                 .product = "Velto Alerts Daemon",
                                 .version = VELTO_VERSION,
                                 .methods = methodTable()};
  return protocol;
}

}  // namespace velto
