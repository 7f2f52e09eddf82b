// Text files of the user: opening them with the messages that all of them share, and reading them
// word by word.
//
// Calls the C library and the host's message service.
#pragma once

#include <cstdio>

namespace cadencora {

constexpr int wordSize = 256; // bytes, with the closing zero

// Null when the file cannot be opened or read. The caller closes the file.
std::FILE* tryReading(const char* path);

// Null when the file cannot be opened or read, which the user has then been told in the words of
// `failure`. Paths are the host's file paths; the caller closes the file.
std::FILE* openForReading(const char* path,
                          const char* failure = "Failure to open file for reading");

// The same for a file that is created or emptied; closed with closeWritten.
std::FILE* openForWriting(const char* path);

// Closes a written file. False, and the user told, if not all of it could be written.
bool closeWritten(std::FILE* file, const char* path);

// White space of the C locale, whatever locale the host has set.
bool isBlank(int byte);

// The next word: 1 to 255 bytes between white space. A longer word, or one that holds a zero byte,
// is skipped whole. False at the end of the file.
bool readWord(std::FILE* file, char (&word)[wordSize]);

} // namespace cadencora
