// Domain names on the wire: reading them (with compression pointers) and writing them (with
// compression against the message built so far). Pure functions on bytes; no state, no I/O.
#pragma once

#include "net/bytes.h"

#include <string>
#include <string_view>

namespace quorvane {

// What a name that cannot be read turns into; a name that ends in it is unreadable.
inline constexpr std::string_view kIncompleteName = "incomplete.";

inline bool endsIncomplete(std::string_view name)
{
    return name.ends_with(kIncompleteName);
}

// Reads the name at the front of remainder: labels lower-cased and joined by ".", with a trailing
// "." ("host.sub.zone."); the root is ".". Compression pointers are offsets into message.
// A name cut short returns "incomplete." and, when remove is set, empties remainder; a pointer
// into a bad part of the message gives the labels read so far followed by "incomplete.".
// With remove set, the bytes of the name are taken off the front of remainder.
std::string ExtractName(std::string_view message, std::string_view& remainder, bool remove);

// As ExtractName with remove set, but into a buffer the caller keeps from call to call, so that
// reading a name allocates nothing once the buffer has grown to the longest name.
void ExtractNameInto(std::string_view message, std::string_view& remainder, std::string& name);

// The wire form of a name given as text, with or without its trailing ".". Blanks around labels are
// dropped, a label longer than 63 characters is cut to 63, letters keep their case. When message is
// not empty, the longest run of trailing labels found anywhere in it is replaced by a pointer to
// its first occurrence.
Bytes ZipName(std::string_view name, std::string_view message);
// Appends the wire form of name to the message being built in out, compressed against what out
// already holds unless compress is off (types whose names must travel whole); as
// ZipName(name, out) appended, without the copy in between.
void appendName(Bytes& out, std::string_view name, bool compress = true);

// The name one label up, in normal form: "b.c." for "a.b.c."; the root for a top-level name and
// for the root itself.
inline std::string_view parentName(std::string_view name)
{
    const auto dot = name.find('.');
    if (dot == std::string_view::npos || dot + 1 >= name.size()) return ".";
    return name.substr(dot + 1);
}

// True when name is zone or lies below it; both in normal form.
inline bool inZone(std::string_view name, std::string_view zone)
{
    if (zone == "." || name == zone) return true;
    return name.size() > zone.size() && name.ends_with(zone) && name[name.size() - zone.size() - 1] == '.';
}

} // namespace quorvane
