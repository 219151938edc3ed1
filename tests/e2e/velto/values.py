# SPDX-License-Identifier: Apache-2.0
"""Names and errors that many tests compare with."""

INTERFACE = "com.ulmora.velto.AlertsDaemon"
MONITOR = "com.ulmora.velto.AlertsMonitor"
SERVICE = "org.varlink.service"

METHODS = ("GetAttributes", "SetAttributes", "PostAlert", "SaveAlerts",
           "MarkAlertAsReadWithAlertId", "MarkAlertAsResolvedWithAlertId", "PerformRecoveryAction",
           "GetAlertsFromDate", "GetAlertsOfType", "GetAlertsOfBundle", "GetLastAlertOfType",
           "GetLastAlertOfBundle", "DeleteAlertsBeforeDate", "DeleteAlertsWithIds",
           "DeleteUnsupportedAlerts", "EnableAlertBundle", "DisableAlertBundle",
           "GetAlertBundleNames", "GetAlertBundleSettings", "SetAlertBundleSettings",
           "GetMailRecipients", "SetMailRecipients", "AddMailRecipients", "GetPushRecipients",
           "SetPushRecipients", "AddPushRecipients")


def error(domain, code, description=None):
    """An error as the wire carries it."""
    user_info = {} if description is None else {"NSLocalizedDescription": description}
    return {"domain": domain, "code": code, "userInfo": user_info}


INSUFFICIENT_PRIVILEGES = error("AlertsDaemon", 103, "Error: Insufficient privileges.")
INSUFFICIENT_ENTITLEMENTS = error("AlertsDaemon", 150, "Error: Insufficient entitlements.")
NO_ALERT_TO_POST = error("AlertsDaemon", 203, "No alert to post.")
NO_ALERTS_TO_SAVE = error("AlertsDaemon", 203, "No alerts to save.")


def not_found(description):
    """One of the store's own errors."""
    return error("VeltoAlertsStore", 100, description)
