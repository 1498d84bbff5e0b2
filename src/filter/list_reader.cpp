// The block-list reader: each line is classified by its first characters, then its name checked.
#include "filter/list_reader.h"

#include <array>
#include <string_view>

namespace quorvane {

namespace {

using namespace std::string_view_literals;

// The addresses that hosts-form lists point blocked names at.
constexpr std::array kSinkAddresses{"0.0.0.0"sv, "127.0.0.1"sv, "::"sv, "::1"sv};
// The entries every hosts file carries for the machine itself: never blocked, never counted.
constexpr std::array kOwnNames{"localhost"sv,      "localhost.localdomain"sv, "local"sv,
                               "broadcasthost"sv,  "ip6-localhost"sv,         "ip6-loopback"sv,
                               "ip6-localnet"sv,   "ip6-mcastprefix"sv,       "ip6-allnodes"sv,
                               "ip6-allrouters"sv, "ip6-allhosts"sv,          "0.0.0.0"sv};

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

// The next blank-separated word of text, taken off its front.
std::string_view nextWord(std::string_view& text)
{
    text = trimmed(text);
    size_t end = 0;
    while (end < text.size() && !isBlank(text[end])) ++end;
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(end);
    return word;
}

template <size_t N> bool isOneOf(std::string_view word, const std::array<std::string_view, N>& set)
{
    for (const std::string_view entry : set)
        if (word == entry) return true;
    return false;
}

} // namespace

bool normalName(std::string_view text, std::string& out)
{
    if (!text.empty() && text.back() == '.') text.remove_suffix(1);
    if (text.empty() || text.size() > NameSet::kMaxName) return false;
    out.clear();
    size_t label = 0;
    bool digitsOnly = true;
    for (const char c : text) {
        if (c == '.') {
            if (label == 0) return false;
            label = 0;
            digitsOnly = true;
            out.push_back(c);
            continue;
        }
        const bool digit = c >= '0' && c <= '9';
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        if (!digit && !letter && c != '-' && c != '_') return false;
        if (++label > 63) return false;
        digitsOnly = digitsOnly && digit;
        out.push_back(c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c);
    }
    return label > 0 && !digitsOnly;
}

void ListReader::feed(std::string_view text)
{
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view piece = text.substr(0, end);
        if (end != std::string_view::npos && m_partial.empty() && !m_overlong) {
            // A whole line within this piece: read where it lies.
            if (piece.size() > kMaxListLine)
                ++m_skipped;
            else
                line(piece);
            text.remove_prefix(end + 1);
            continue;
        }
        if (m_overlong || m_partial.size() + piece.size() > kMaxListLine) {
            m_overlong = true;
            m_partial.clear();
        } else {
            m_partial.append(piece);
        }
        if (end == std::string_view::npos) return; // the line goes on in the next piece
        text.remove_prefix(end + 1);
        if (m_overlong)
            ++m_skipped;
        else
            line(m_partial);
        m_overlong = false;
        m_partial.clear();
    }
}

void ListReader::finish()
{
    if (m_overlong)
        ++m_skipped;
    else if (!m_partial.empty())
        line(m_partial);
    m_overlong = false;
    m_partial.clear();
}

void ListReader::line(std::string_view text)
{
    text = trimmed(text);
    if (text.empty() || text.front() == '#' || text.front() == '!') return;
    // Ad-blocking rules: only a bare domain rule; one with modifiers or a path is skipped.
    const bool exception = text.starts_with("@@||");
    if (exception || text.starts_with("||")) {
        text.remove_prefix(exception ? 4 : 2);
        if (!text.ends_with('^')) return void(++m_skipped);
        return add(text.substr(0, text.size() - 1), exception);
    }
    // A comment may end a hosts or plain line after a blank; "name##rule" is a cosmetic rule.
    for (size_t hash = text.find('#'); hash != std::string_view::npos; hash = text.find('#', hash + 1)) {
        if (isBlank(text[hash - 1])) {
            text = trimmed(text.substr(0, hash));
            break;
        }
    }
    std::string_view rest = text;
    const std::string_view first = nextWord(rest);
    if (isOneOf(first, kSinkAddresses)) return hostsLine(rest);
    if (!trimmed(rest).empty()) return void(++m_skipped); // another address, or words
    add(first.starts_with("*.") ? first.substr(2) : first, false);
}

// The names after a hosts line's address; a line with none is skipped.
void ListReader::hostsLine(std::string_view rest)
{
    if (trimmed(rest).empty()) return void(++m_skipped);
    for (std::string_view word = nextWord(rest); !word.empty(); word = nextWord(rest)) add(word, false);
}

void ListReader::add(std::string_view name, bool exception)
{
    if (isOneOf(name, kOwnNames)) return;
    if (!normalName(name, m_name)) return void(++m_skipped);
    (exception ? m_excepted : m_blocked).insert(m_name);
    ++m_names;
}

} // namespace quorvane
