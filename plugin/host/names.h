// Names compared without regard to the case of ASCII letters, whatever the locale.
#pragma once

namespace cadencora {

inline char foldedCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline bool isSameName(const char* a, const char* b) {
    for (; *a && foldedCase(*a) == foldedCase(*b); ++a)
        ++b;
    return foldedCase(*a) == foldedCase(*b);
}

} // namespace cadencora
