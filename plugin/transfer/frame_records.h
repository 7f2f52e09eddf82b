// The lines of a single-frame file: "ITEM CHANNEL VALUE", a record each.
//
// Pure text; calls the C library and the blanks of the set files. Item names may hold blanks, so a
// line is read by the first of these forms that fits its words: two words of an item's name, a
// channel and a number; one word, a channel and a number; any number of words of a name, a channel
// and a number at the end. The first two may be followed by anything. Numbers are written with six
// decimals, and have a point in every locale.
#pragma once

#include "plugin/files/text_files.h"

namespace cadencora {

constexpr int recordLineSize = 1024; // bytes of a line that is read, with the closing zero

struct FrameRecord {
    char item[wordSize];
    char channel[wordSize];
    double value;
};

// The next line, without its line end. A line that does not fit, or that holds a zero byte, comes
// back empty. False at the end of the file.
bool readRecordLine(std::FILE* file, char (&line)[recordLineSize]);

// False for a line that none of the forms fits, with a name that does not fit or with a value that
// is not finite.
bool parseRecord(const char* line, FrameRecord* record);

// Writes the line with its line end. False where it does not fit; the line is then empty.
bool formatRecord(const char* item, const char* channel, double value,
                  char (&line)[recordLineSize]);

// Whether a record of these names is read as one of these names again.
bool readsBack(const char* item, const char* channel);

// Whether an item field means morphs rather than an item: such records change nothing.
bool isMorphRecord(const char* item);

} // namespace cadencora
