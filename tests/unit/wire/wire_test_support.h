// Helpers for the codec tests: byte strings written as numbers and text, and a catcher for the
// error reports that the codec makes.
#pragma once

#include "net/bytes.h"
#include "net/error_hook.h"

#include <initializer_list>
#include <string>
#include <vector>

namespace quorvane::test {

// One piece of a byte string: a single byte given as a number, or a run of text.
struct Piece
{
    Piece(int byte) : text(1, static_cast<char>(byte)) {}
    Piece(const char* run) : text(run) {}
    Piece(std::string run) : text(std::move(run)) {}
    std::string text;
};

// wire({3, "www", 0}) is the bytes 03 77 77 77 00.
inline Bytes wire(std::initializer_list<Piece> pieces)
{
    Bytes bytes;
    for (const Piece& piece : pieces)
        bytes += piece.text;
    return bytes;
}

// A query for www.example.com, type A: the name stands at offset 12, "example" at 16, "com" at 24.
inline Bytes exampleQuery()
{
    return wire({0x12, 0x34, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 3, "www", 7, "example", 3, "com", 0, 0, 1, 0, 1});
}

// Collects the labels of the error reports made while it lives.
class ErrorCapture
{
public:
    ErrorCapture()
        : m_previous(setErrorHandler(
              [this](const std::string& label, const std::string&) { labels.push_back(label); }))
    {
    }
    ~ErrorCapture() { setErrorHandler(std::move(m_previous)); }
    ErrorCapture(const ErrorCapture&) = delete;
    ErrorCapture& operator=(const ErrorCapture&) = delete;

    std::vector<std::string> labels;

private:
    ErrorHandler m_previous;
};

} // namespace quorvane::test
