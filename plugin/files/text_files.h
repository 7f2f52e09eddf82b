// Text files of the user: opening them with the messages that all of them share, and reading them
// word by word.
//
// Calls the C library and the host's message service.
#pragma once

#include <cstdio>

namespace cadencora {

constexpr int wordSize = 256;      // bytes, with the closing zero
constexpr int filePathSize = 4096; // bytes, with the closing zero

// Null when the file cannot be opened or read, or is no regular file: a pipe may never end. The
// caller closes the file.
std::FILE* tryReading(const char* path);

// Null when the file cannot be opened or read, which the user has then been told in the words of
// `failure`. Paths are the host's file paths; the caller closes the file.
std::FILE* openForReading(const char* path,
                          const char* failure = "Failure to open file for reading");

// A text file that is being written. It is made beside its final place, so that the old one stays
// until the new one is whole.
struct NewFile {
    std::FILE* stream;
    const char* path;          // as the user gave it, for messages; must outlive the record
    char target[filePathSize]; // where it goes, links followed
    char aside[filePathSize];  // where it is until then; empty: it is written in place
};

// False when it cannot be made, which the user has then been told. Otherwise closeWritten follows.
bool openForWriting(NewFile* file, const char* path);

// Ends a written file and gives it its name. False, and the user told why, if not all of it could
// be written; the old file, if any, is then as it was.
bool closeWritten(NewFile* file);

// White space of the C locale, whatever locale the host has set.
bool isBlank(int byte);

// The next word: 1 to 255 bytes between white space. A longer word, or one that holds a zero byte,
// is skipped whole. False at the end of the file.
bool readWord(std::FILE* file, char (&word)[wordSize]);

} // namespace cadencora
