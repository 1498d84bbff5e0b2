// Reading and writing domain names. Never reads outside the bytes it is given, never follows
// pointers without end, never throws to its caller.
#include "wire/names.h"

#include "net/error_hook.h"

#include <exception>

namespace quorvane {

namespace {

constexpr unsigned kPointerMark = 192; // a length byte of 192 or more starts a compression pointer
constexpr size_t kMaxPointerOffset = 0x3FFF;
constexpr size_t kMaxLabel = 63;
// A name of at most 255 bytes holds at most 127 labels, and each pointer of a sensible chain leads to
// at least one of them; a longer chain is a loop and ends the name as unreadable.
constexpr int kMaxPointerHops = 127;
// A name takes at most 255 bytes in wire form, so its text (without the final zero byte) at most 254.
// Pointers can make a longer one out of a few bytes; it ends as unreadable, and no label is copied
// once the limit is passed (the one that passes it is), so a hostile message cannot make a name cost
// more than its bytes.
constexpr size_t kMaxNameText = 254;

unsigned byteAt(std::string_view bytes, size_t at)
{
    return static_cast<unsigned char>(bytes[at]);
}

// Names are compared in lower case; only ASCII letters fold, as DNS defines it.
void appendLabel(std::string& text, std::string_view label)
{
    for (char c : label)
        text += (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    text += '.';
}

// Names are built here and copied out once at their final size, so a call allocates no more than
// the string it returns, and nothing at all when that string is short (a compression pointer).
std::string& scratch()
{
    thread_local std::string bytes;
    bytes.clear();
    return bytes;
}

// Appends to text the name at the front of wire, following pointers into message. A stretch of
// labels that is cut short (a label needs its bytes and one byte after them) is replaced by
// "incomplete.", as is a pointer that leads outside the message or one hop too many.
// Returns the bytes the name takes at the front of wire, through its zero byte or its first
// pointer; 0 when those bytes are cut short, and then nothing is appended.
size_t readName(std::string_view message, std::string_view wire, std::string& text)
{
    const size_t nameStart = text.size();
    const auto tooLong = [&] { return text.size() - nameStart > kMaxNameText; };
    size_t taken = 0;
    for (int hops = 0;; ++hops) {
        const size_t stretchStart = text.size();
        // Nothing of a stretch that is cut short is kept.
        const auto cutShort = [&] {
            text.resize(stretchStart);
            if (hops == 0) return size_t{0};
            text += kIncompleteName;
            return taken;
        };
        if (wire.empty()) return cutShort();
        size_t at = 0;
        unsigned length = byteAt(wire, 0);
        // Length bytes 64-191 have no defined meaning; they are read as labels of that length.
        while (length > 0 && length < kPointerMark) {
            if (wire.size() < at + length + 2) return cutShort();
            if (!tooLong()) appendLabel(text, wire.substr(at + 1, length));
            at += length + 1;
            length = byteAt(wire, at);
        }
        if (length == 0) {
            if (tooLong()) text += kIncompleteName;
            if (text.size() == stretchStart) text += '.';
            return hops == 0 ? at + 1 : taken;
        }
        if (wire.size() < at + 2) return cutShort();
        if (hops == 0) taken = at + 2;
        const size_t offset = (length & 0x3F) << 8 | byteAt(wire, at + 1);
        if (offset >= message.size() || hops == kMaxPointerHops || tooLong()) {
            text += kIncompleteName;
            return taken;
        }
        wire = message.substr(offset);
    }
}

std::string_view trimBlanks(std::string_view text)
{
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Writes the labels of a name given as text, then the zero byte that ends every name. Names in
// normal form have no blanks to trim, which spares the answer path the search for them.
void appendLabels(Bytes& wire, std::string_view name)
{
    const bool blanks = name.find(' ') != std::string_view::npos;
    const auto trimmed = [blanks](std::string_view text) { return blanks ? trimBlanks(text) : text; };
    std::string_view rest = trimmed(name);
    while (!rest.empty()) {
        const size_t dot = rest.find('.');
        const std::string_view label = trimmed(rest.substr(0, dot).substr(0, kMaxLabel));
        rest = dot == std::string_view::npos ? std::string_view{} : trimmed(rest.substr(dot + 1));
        // An empty label (the root's ".", two dots in a row) writes nothing: a zero length byte
        // would end the name early.
        if (label.empty()) continue;
        wire += static_cast<char>(label.size());
        wire += label;
    }
    wire += '\0';
}

// Replaces the longest run of trailing labels of wire that occurs anywhere in message by a pointer
// to its first occurrence. The search works on the caller's buffer; nothing is copied.
void compress(Bytes& wire, std::string_view message)
{
    for (size_t at = 0; byteAt(wire, at) != 0; at += byteAt(wire, at) + 1) {
        const size_t found = message.find(std::string_view(wire).substr(at));
        if (found == std::string_view::npos) continue;
        if (found > kMaxPointerOffset) {
            // A pointer has 14 bits; the name stays written out in full, which is still correct.
            reportError("modDNS ZipName",
                        "offset " + std::to_string(found) + " cannot be expressed as a compression pointer");
            return;
        }
        wire.resize(at);
        wire += static_cast<char>(kPointerMark | found >> 8);
        wire += static_cast<char>(found & 0xFF);
        return;
    }
}

} // namespace

std::string ExtractName(std::string_view message, std::string_view& remainder, bool remove)
{
    try {
        std::string& text = scratch();
        const size_t taken = readName(message, remainder, text);
        if (remove) remainder = taken == 0 ? std::string_view{} : remainder.substr(taken);
        return taken == 0 ? std::string(kIncompleteName) : text;
    } catch (const std::exception& e) {
        reportError("modDNS ExtractName", e.what());
    }
    return {};
}

void ExtractNameInto(std::string_view message, std::string_view& remainder, std::string& name)
{
    try {
        name.clear();
        const size_t taken = readName(message, remainder, name);
        remainder = taken == 0 ? std::string_view{} : remainder.substr(taken);
        if (taken == 0) name = kIncompleteName;
        return;
    } catch (const std::exception& e) {
        reportError("modDNS ExtractName", e.what());
    }
    name.clear();
}

Bytes ZipName(std::string_view name, std::string_view message)
{
    try {
        Bytes& wire = scratch();
        appendLabels(wire, name);
        if (!message.empty()) compress(wire, message);
        return wire;
    } catch (const std::exception& e) {
        reportError("modDNS ZipName", e.what());
    }
    return {};
}

void appendName(Bytes& out, std::string_view name, bool compressed)
{
    try {
        Bytes& wire = scratch();
        appendLabels(wire, name);
        if (compressed && !out.empty()) compress(wire, out);
        out += wire;
    } catch (const std::exception& e) {
        reportError("modDNS ZipName", e.what());
    }
}

} // namespace quorvane
