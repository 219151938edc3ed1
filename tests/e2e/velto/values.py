"""Names and errors that many tests compare with."""

INTERFACE = "com.ulmora.velto.AlertsDaemon"
SERVICE = "org.varlink.service"

# The methods that this version answers, and those that it declares only.
SERVED = ("PostAlert", "SaveAlerts", "GetAlertsOfType", "GetAlertsOfBundle", "GetLastAlertOfType",
          "GetLastAlertOfBundle", "GetAlertBundleNames", "GetMailRecipients", "AddMailRecipients")
NOT_IMPLEMENTED = ("GetAttributes", "SetAttributes", "MarkAlertAsReadWithAlertId",
                   "MarkAlertAsResolvedWithAlertId", "PerformRecoveryAction", "GetAlertsFromDate",
                   "DeleteAlertsBeforeDate", "DeleteAlertsWithIds", "DeleteUnsupportedAlerts",
                   "EnableAlertBundle", "DisableAlertBundle", "GetAlertBundleSettings",
                   "SetAlertBundleSettings", "SetMailRecipients", "GetPushRecipients",
                   "SetPushRecipients", "AddPushRecipients")


def error(domain, code, description=None):
    """An error as the wire carries it."""
    user_info = {} if description is None else {"NSLocalizedDescription": description}
    return {"domain": domain, "code": code, "userInfo": user_info}


INSUFFICIENT_PRIVILEGES = error("AlertsDaemon", 103, "Error: Insufficient privileges.")
INSUFFICIENT_ENTITLEMENTS = error("AlertsDaemon", 150, "Error: Insufficient entitlements.")
NO_ALERT_TO_POST = error("AlertsDaemon", 203, "No alert to post.")
NO_ALERTS_TO_SAVE = error("AlertsDaemon", 203, "No alerts to save.")
