// Where routines below the engine report an unexpected error they caught, with their label
// ("modDNS ZipName"). The engine installs the handler on its thread; with none installed the
// report is dropped. Callers then return what they had: no exception ever leaves them.
#pragma once

#include <functional>
#include <string>

namespace quorvane {

using ErrorHandler = std::function<void(const std::string& label, const std::string& description)>;

// Installs the handler for the calling thread and returns the previous one.
ErrorHandler setErrorHandler(ErrorHandler handler);
void reportError(const std::string& label, const std::string& description);

} // namespace quorvane
