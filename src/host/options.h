// The options dialog's rules, as plain functions: checking proposed settings in the dialog's
// order, and the choices of the recursion list. The dialog itself only shows what these return.
#pragma once

#include "host/settings.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quorvane {

enum class OptionsTab { General, Forwarding, Logging, Blocking, Dhcp };

struct OptionsError {
    std::string message; // shown with an exclamation icon; lines separated by '\n'
    OptionsTab tab;      // the tab that holds the field
};

struct OptionsCheck {
    std::optional<OptionsError> error; // the first failure, if any
    Settings accepted;                 // the settings to apply when there is no error
};

// Checks the dialog's proposal. `dhcp` lists every interface row of the dialog, enabled or not;
// only enabled ones are checked and kept. A DHCP range given backwards is swapped.
OptionsCheck checkOptions(const Settings& proposed, const std::vector<clDHCPif>& dhcp,
                          const std::function<bool(const std::string& path)>& fileExists);

// The "Offer Recursion to:" choices for a binding choice (empty: all interfaces).
std::vector<std::string> recursionChoices(const std::string& dnsBind, const std::vector<std::string>& localAddresses);

} // namespace quorvane
