// The key store, against a plain list of keys.

#include "stage/scene/keys/key_store.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <random>

namespace cadencora::stage {
namespace {

// What a key store should hold, kept the plain way, with the handle of every key asked for.
struct Model {
    std::map<double, KeyData> keys;
    std::map<double, KeyHandle> handles;
};

void expectSame(KeyStore& store, const Model& model) {
    ASSERT_EQ(store.size(), model.keys.size());
    auto cursor = store.begin();
    for (const auto& [time, key] : model.keys) {
        ASSERT_TRUE(cursor);
        ASSERT_EQ(cursor.time(), time);
        ASSERT_EQ(cursor.value(), key.value);
        ASSERT_EQ(cursor.shape(), key.shape);
        ASSERT_EQ(cursor.data().parameters, key.parameters);
        cursor.advance();
    }
    ASSERT_FALSE(cursor);
    for (const auto& [time, handle] : model.handles) {
        ASSERT_TRUE(store.valid(handle));
        ASSERT_EQ(store.at(handle).time(), time);
        ASSERT_EQ(store.find(time), handle) << "asking again gives the same handle";
    }
}

double anyTime(const Model& model, std::mt19937& random) {
    auto key = model.keys.begin();
    std::advance(key, random() % model.keys.size());
    return key->first;
}

// Edits in every mixture of places: dense stretches, scattered ones, ends, emptied and grown again.
TEST(KeyStore, agrees_with_a_plain_map_over_random_edits) {
    for (unsigned seed = 1; seed <= 6; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        KeyStore store, copy; // which share arrays
        Model model, copied;
        std::vector<KeyHandle> gone;
        for (int round = 0; round < 8000; ++round) {
            if (round % 150 == 0) {
                ASSERT_NO_FATAL_FAILURE(expectSame(copy, copied));
                EXPECT_LE(store.bytesBeside(copy), store.bytes());
                copy = store;
                copied.keys = model.keys;
            }
            // Phases of growing and shrinking reach splits, merges and the empty store.
            const bool growing = (round / 2000) % 2 == 0;
            const auto action = random() % 10;
            if (model.keys.empty() || action < (growing ? 6 : 2)) {
                const double time = seed % 2 ? static_cast<double>(random() % 5000) : round * 0.5;
                const double value = static_cast<double>(random() % 100);
                const auto shape = random() % 2 ? Shape::linear : Shape::hold;
                const KeyHandle handle = store.handle(store.insert(time, value, shape));
                const bool fresh = !model.keys.contains(time);
                KeyData& key = model.keys[time];
                if (fresh) key = {time, value, shape, {}};
                key.value = value;
                model.handles[time] = handle;
            } else if (action < 8) {
                const double time = anyTime(model, random);
                const KeyHandle handle = store.find(time);
                gone.push_back(handle);
                store.erase(handle);
                model.keys.erase(time);
                model.handles.erase(time);
            } else if (action == 8) {
                const double from = anyTime(model, random);
                const double to = static_cast<double>(random() % 5000) + 0.25;
                const KeyHandle handle = store.find(from);
                const bool moved = store.setTime(handle, to);
                ASSERT_EQ(moved, !model.keys.contains(to) || to == from);
                if (!moved || to == from) continue;
                auto node = model.keys.extract(from);
                node.key() = node.mapped().time = to;
                model.keys.insert(std::move(node));
                model.handles.erase(from);
                model.handles[to] = handle;
            } else {
                const double time = anyTime(model, random);
                const auto which = static_cast<Parameter>(random() % parameterCount);
                const double number = static_cast<double>(random() % 3);
                store.setParameter(store.at(store.find(time)), which, number);
                model.keys[time].parameters[which] = number;
            }
            if (round % 400 == 0) {
                ASSERT_NO_FATAL_FAILURE(expectSame(store, model));
            }
        }
        ASSERT_NO_FATAL_FAILURE(expectSame(store, model));
        for (const KeyHandle handle : gone)
            ASSERT_FALSE(store.valid(handle));

        copy = store;
        EXPECT_FALSE(copy.valid(store.first())) << "a handle belongs to one store";
        while (!store.empty())
            store.erase(store.first());
        EXPECT_TRUE(store.empty());
        model.handles.clear();
        ASSERT_NO_FATAL_FAILURE(expectSame(copy, model));
    }
}

// Copies share arrays with their original until one of the two edits a key in them.
TEST(KeyStore, copies_stay_as_they_were_whatever_happens_to_their_original_or_other_copies) {
    std::mt19937 random(7);
    KeyStore store;
    Model model;
    for (int i = 0; i < 1500; ++i) {
        const KeyData key{i * 1.0, i * 0.5, Shape::linear, {}};
        store.append(key);
        model.keys[key.time] = key;
    }
    struct Kept {
        KeyStore store;
        Model model;
    };
    std::vector<Kept> copies;
    for (int generation = 0; generation < 12; ++generation) {
        copies.push_back({store, {model.keys, {}}});
        if (generation % 3 == 2) { // an undo: the copy is edited on, the edited one is kept
            store.swap(copies.back().store);
            ASSERT_NO_FATAL_FAILURE(expectSame(copies.back().store, {model.keys, {}}));
        }
        // One kind of edit per generation, so that each meets shared arrays first.
        for (int edit = 0; edit < 60; ++edit) {
            const double time = anyTime(model, random);
            const KeyHandle key = store.find(time);
            KeyData& data = model.keys[time];
            switch (generation % 6) {
            case 0:
                store.setValue(store.at(key), data.value = edit);
                break;
            case 1:
                store.setParameter(store.at(key), bias, data.parameters[bias] = edit % 2);
                break;
            case 2:
                store.erase(key);
                model.keys.erase(time);
                break;
            case 3:
                store.insert(time + 0.5, edit, Shape::hold);
                model.keys[time + 0.5].value = edit;
                model.keys[time + 0.5].shape = store.at(store.find(time + 0.5)).shape();
                break;
            case 4:
                if (!store.setTime(key, time + 0.25)) break;
                model.keys[time + 0.25] = data;
                model.keys.erase(time);
                break;
            default:
                ASSERT_TRUE(edit > 0 || !store.setValueInPlace(store.at(key), -1));
                store.setShape(store.at(key), data.shape = Shape::spline);
                ASSERT_TRUE(store.setValueInPlace(store.at(key), data.value = edit));
            }
        }
        ASSERT_NO_FATAL_FAILURE(expectSame(store, model));
    }
    for (Kept& copy : copies)
        ASSERT_NO_FATAL_FAILURE(expectSame(copy.store, copy.model));
}

TEST(KeyStore, walks_with_handles_in_order_while_keys_are_removed_and_moved) {
    KeyStore store;
    for (int i = 0; i < 1000; ++i)
        store.append(i * 0.25, i, Shape::linear);
    double last = -1;
    for (KeyHandle key = store.first(); key != KeyHandle::none;) {
        const double time = store.at(key).time();
        EXPECT_GT(time, last);
        last = time;
        const KeyHandle next = store.next(key);
        if (time != std::floor(time)) store.erase(key);
        key = next;
    }
    EXPECT_EQ(store.size(), 250u);
    EXPECT_EQ(store.find(0.25), KeyHandle::none);
    EXPECT_NE(store.find(249), KeyHandle::none);
    EXPECT_FALSE(store.atOrAfter(249.5));
}

TEST(KeyStore, keys_that_split_a_block_in_its_middle_stay_in_order) {
    KeyStore store;
    for (int i = 0; i < 128; ++i)
        store.append(i, i, Shape::linear);
    store.insert(63.5, 0, Shape::linear);
    EXPECT_EQ(store.at(store.find(10)).time(), 10);
    store.insert(63.75, 0, Shape::linear);
    double last = -1;
    std::size_t count = 0;
    for (auto key = store.begin(); key; key.advance(), ++count) {
        EXPECT_GT(key.time(), last);
        last = key.time();
    }
    EXPECT_EQ(count, 130u);
    EXPECT_NE(store.find(63.75), KeyHandle::none);
}

TEST(KeyStore, a_key_between_shared_ones_copies_none_of_them) {
    KeyStore store;
    for (int i = 0; i < 12800; ++i)
        store.append(i, i, Shape::linear);
    std::vector<KeyHandle> handles;
    for (KeyHandle key = store.first(); key != KeyHandle::none; key = store.next(key))
        handles.push_back(key);
    const KeyStore before = store;
    const std::size_t shared = store.bytesBeside(before);
    for (int block = 0; block < 100; ++block)
        store.insert(128 * block + 63.5, -1, Shape::hold);
    EXPECT_LT(store.bytesBeside(before) - shared, 100u * 1500) << "handles of half a block";
    EXPECT_LT(before.bytesBeside(store), 12'800u * 3);
    for (std::size_t i = 0; i < handles.size(); ++i)
        ASSERT_EQ(store.find(static_cast<double>(i)), handles[i]);
    const KeyStore::Differences found = store.differencesFrom(before);
    EXPECT_EQ(found.added, 100u);
    EXPECT_EQ(found.count(), 100u);
    EXPECT_EQ(found.last, 128 * 99 + 63.5);
    // Nor does it where keys came before the first one, whose block was split then.
    KeyStore early;
    for (int i = 0; i < 600; ++i)
        early.insert(1000 - i, i, Shape::linear);
    const KeyStore copy = early;
    EXPECT_LT(early.bytesBeside(copy), 600u * 8);
    // Both parts of a block may be edited, and neither the other part nor the copy knows.
    for (const double time : {63.0, 64.0})
        store.setValue(store.atOrAfter(time), -2);
    EXPECT_EQ(store.differencesFrom(before).changed, 2u);
    EXPECT_EQ(before.atOrAfter(64).value(), 64);
    EXPECT_EQ(store.at(handles[64]).value(), -2) << "a handle goes along with its key";
}

TEST(KeyStore, finds_a_key_by_its_exact_time_only) {
    KeyStore store;
    EXPECT_EQ(store.find(0), KeyHandle::none);
    for (int i = 0; i < 300; ++i)
        store.append(i / 30.0, i, Shape::linear);
    EXPECT_EQ(store.at(store.find(127 / 30.0)).value(), 127);
    EXPECT_EQ(store.at(store.find(128 / 30.0)).value(), 128) << "the first key of a block";
    EXPECT_EQ(store.find(std::nextafter(128 / 30.0, 0.0)), KeyHandle::none);
    EXPECT_EQ(store.find(std::nextafter(128 / 30.0, 9.0)), KeyHandle::none);
    EXPECT_EQ(store.atOrAfter(std::nextafter(127 / 30.0, 9.0)).value(), 128);
    EXPECT_EQ(store.find(-1), KeyHandle::none);
    EXPECT_EQ(store.find(1000), KeyHandle::none);
}

TEST(KeyStore, holds_its_keys_in_little_memory) {
    KeyStore lean, full;
    KeyData key;
    key.parameters.fill(0.5);
    for (int i = 0; i < 100000; ++i) {
        lean.append(i, i, Shape::linear);
        key.time = i;
        full.append(key);
    }
    EXPECT_LT(lean.bytes(), 19 * lean.size());
    KeyStore single;
    single.append(0, 1, Shape::linear);
    EXPECT_LT(single.bytes(), 500u) << "as most curves of a pose";
    for (KeyHandle k = full.first(); k != KeyHandle::none; k = full.next(k)) {
    }
    EXPECT_LT(full.bytes(), 100 * full.size()) << "every attribute in use, every handle asked for";

    // Scattered removal leaves sparse blocks, which join.
    KeyHandle next = KeyHandle::none;
    int i = 0;
    for (KeyHandle k = lean.first(); k != KeyHandle::none; k = next) {
        next = lean.next(k);
        if (++i % 20 != 0) lean.erase(k);
    }
    EXPECT_EQ(lean.size(), 5000u);
    EXPECT_LT(lean.bytes(), 100 * lean.size());
}

} // namespace
} // namespace cadencora::stage
