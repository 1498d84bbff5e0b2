#include "net/error_hook.h"

namespace quorvane {

namespace {
thread_local ErrorHandler t_handler;
}

ErrorHandler setErrorHandler(ErrorHandler handler)
{
    std::swap(t_handler, handler);
    return handler;
}

void reportError(const std::string& label, const std::string& description)
{
    if (t_handler) t_handler(label, description);
}

} // namespace quorvane
