// Replacing a file whole: the text goes to a temporary file in the same folder, which is then
// renamed over the old one, so a crash or a full disk never leaves a half-written file.
#pragma once

#include <filesystem>
#include <string_view>

namespace quorvane {

// Returns false (and leaves the old file as it was) when the file cannot be written.
bool writeFileAtomically(const std::filesystem::path& path, std::string_view content);

} // namespace quorvane
