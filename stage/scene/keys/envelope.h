// An animation curve: keys, what happens outside them, and its value at any time.
#pragma once

#include "stage/scene/keys/key_store.h"

namespace cadencora::stage {

// What the curve does before its first or after its last key.
enum class Behaviour : std::uint8_t {
    constant = 0,     // the outermost key's value stands
    repeat = 1,       // the keyed stretch starts again
    mirror = 2,       // the keyed stretch runs back and forth
    offsetRepeat = 3, // repeats, each time shifted by what a stretch gains
    linear = 4        // goes on straight with the outermost slope
};

constexpr bool isBehaviour(int number) {
    return number >= 0 && number <= 4;
}

struct Envelope {
    KeyStore keys;
    double rest = 0; // the value while there are no keys
    Behaviour before = Behaviour::constant;
    Behaviour after = Behaviour::constant;
    // The serial number of the open EditScope that keeps a copy, or 0. An envelope that is not part
    // of a scene is in no journal.
    std::uint64_t keptBy = 0;
    static constexpr std::uint64_t inNoJournal = ~std::uint64_t{0};

    // The curve's value at a finite time in seconds.
    double evaluate(double time) const;

    // Puts a key at a finite time, as a person does who keys a value there. An existing key takes
    // the value and keeps the rest; a new one continues the shape of the span it falls into, so
    // that a key placed on the curve disturbs it as little as its shape allows.
    KeyStore::Cursor placeKey(double time, double value) {
        return placeKey(keys.placeAt(time), time, value);
    }
    KeyStore::Cursor placeKey(KeyStore::Place place, double time, double value); // keys.placeAt's
    // The same where that takes no memory, nor does the key's handle. Empty, and nothing was done,
    // where it would, where a key stands at the time, or where it is no simple matter.
    KeyStore::Cursor placeInPlace(KeyStore::Place place, double time, double value);
};

// Gives `to` the keys and behaviours of `from`; handles of its old keys end.
void assign(Envelope& to, const Envelope& from);

} // namespace cadencora::stage
