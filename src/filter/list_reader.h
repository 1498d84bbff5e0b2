// Reads block lists line by line in every common form: hosts lines ("0.0.0.0 name"), plain names,
// "*.name", and the domain rules of ad-blocking lists ("||name^", "@@||name^" as an exception).
// Lines of any other form are skipped and counted. Never throws, never reads past its input.
#pragma once

#include "filter/name_set.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace quorvane {

// Longer lines are skipped whole.
inline constexpr size_t kMaxListLine = 1024;

class ListReader {
public:
    // Names to block go to blocked, exceptions to excepted.
    ListReader(NameSet& blocked, NameSet& excepted) : m_blocked(blocked), m_excepted(excepted) {}

    // Any piece of the list's text; a line may run on into the next piece.
    void feed(std::string_view text);
    // The end of the text: a last line without a line end is read too.
    void finish();

    // Names read (blocked and exceptions, each line counted), and lines skipped.
    size_t names() const { return m_names; }
    size_t skipped() const { return m_skipped; }

private:
    void line(std::string_view text);
    void hostsLine(std::string_view rest);
    void add(std::string_view name, bool exception);

    NameSet& m_blocked;
    NameSet& m_excepted;
    std::string m_partial;     // the start of a line that runs on into the next piece
    bool m_overlong = false;   // the line being read is already too long
    std::string m_name;        // the name being added, lower-cased
    size_t m_names = 0;
    size_t m_skipped = 0;
};

// The lower-case form of a host name, without a final dot, into out; false (out unspecified) for
// text that is not a host name: empty or overlong labels, characters other than letters, digits,
// '-' and '_', or a last label of digits only.
bool normalName(std::string_view text, std::string& out);

} // namespace quorvane
