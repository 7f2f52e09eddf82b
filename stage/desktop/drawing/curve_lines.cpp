#include "stage/desktop/drawing/curve_lines.h"

#include "stage/plot/units.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace cadencora::stage {

namespace {

// Calls back with the first and the last key of every column that has any; between two columns the
// store is asked for the place, so that a column costs the same however many keys it holds.
template <class Visit>
void visitKeyedColumns(const KeyStore& keys, const TimeWindow& window, int step,
                       const Visit& visit) {
    for (auto key = keys.atOrAfter(window.first); key && key.time() <= window.last;) {
        const double column = std::floor(window.columnOf(key.time()) / step) * step;
        visit(static_cast<int>(column), key);
        const double end = window.timeOf(column + step);
        key = keys.atOrAfter(std::max(end, std::nextafter(key.time(), HUGE_VAL)));
    }
}

} // namespace

std::vector<ShownCurve> shownCurves(const Scene& scene, const std::vector<ItemId>& items,
                                    const Journal& journal) {
    std::unordered_map<EnvelopeId, const Envelope*> before;
    if (const JournalEntry* edit = journal.lastEdit())
        for (const auto& copy : edit->envelopes)
            before.emplace(copy.id, &copy.other);
    std::vector<ShownCurve> curves;
    std::array<std::size_t, units.size()> places{};
    for (const ItemId item : items) {
        visitChannels(scene, scene.item(item).group, [&](ChannelId id) {
            const Channel& channel = scene.channel(id);
            ShownCurve curve;
            curve.envelope = channel.envelope;
            if (const auto found = before.find(channel.envelope); found != before.end())
                curve.before = found->second;
            if (scene.envelope(channel.envelope).keys.empty() &&
                !(curve.before && !curve.before->keys.empty()))
                return;
            curve.name = scene.channelPath(id);
            curve.unit = unitOf(scene, id);
            curve.place = places[curve.unit]++;
            curve.factor = units[curve.unit].factor;
            curves.push_back(std::move(curve));
        });
    }
    return curves;
}

std::vector<CurvePoint> curveLine(const Envelope& curve, const TimeWindow& window) {
    std::vector<CurvePoint> line;
    const auto sample = [&](double time) { line.push_back({time, curve.evaluate(time)}); };
    auto key = curve.keys.atOrAfter(window.first);
    for (int column = 0; column < window.columns; ++column) {
        sample(window.timeOf(column));
        const double end = window.timeOf(column + 1);
        if (!key || key.time() >= end) continue;
        double low = key.value(), high = low, lowTime = key.time(), highTime = lowTime;
        for (; key && key.time() < end; key.advance()) {
            // A held span ends in a jump: its value is held until just before the key.
            if (key.shape() == Shape::hold && key.time() > window.first)
                line.push_back({key.time(), line.back().value});
            if (key.value() < low) low = key.value(), lowTime = key.time();
            if (key.value() > high) high = key.value(), highTime = key.time();
        }
        if (lowTime > highTime) std::swap(lowTime, highTime), std::swap(low, high);
        line.push_back({lowTime, low});
        if (highTime > lowTime) line.push_back({highTime, high});
    }
    sample(window.last);
    return line;
}

std::vector<KeyPoint> keyPoints(const Envelope& curve, const TimeWindow& window, int spacing) {
    std::vector<KeyPoint> points;
    visitKeyedColumns(curve.keys, window, spacing, [&](int, const KeyStore::Cursor& key) {
        points.push_back({key.time(), key.value(), key.shape()});
    });
    return points;
}

std::size_t keysBetween(const Envelope& curve, double first, double last) {
    std::size_t count = 0;
    for (auto key = curve.keys.atOrAfter(first); key && key.time() <= last; key.advance())
        ++count;
    return count;
}

std::vector<int> keyColumns(const Scene& scene, const std::vector<ItemId>& items,
                            const TimeWindow& window) {
    std::vector<bool> keyed(static_cast<std::size_t>(window.columns) + 1);
    for (const ItemId item : items)
        visitChannels(scene, scene.item(item).group, [&](ChannelId id) {
            const Envelope& curve = scene.envelope(scene.channel(id).envelope);
            visitKeyedColumns(curve.keys, window, 1, [&](int column, const KeyStore::Cursor&) {
                keyed[static_cast<std::size_t>(column)] = true;
            });
        });
    std::vector<int> columns;
    for (std::size_t i = 0; i < keyed.size(); ++i)
        if (keyed[i]) columns.push_back(static_cast<int>(i));
    return columns;
}

std::optional<Range> valueRange(const Scene& scene, const std::vector<ShownCurve>& curves,
                                const TimeWindow& window) {
    std::optional<Range> range;
    const auto cover = [&](double value) {
        if (!std::isfinite(value)) return;
        if (!range) range = Range{value, value};
        range->low = std::min(range->low, value);
        range->high = std::max(range->high, value);
    };
    for (const ShownCurve& curve : curves)
        for (const Envelope* shown : {&scene.envelope(curve.envelope), curve.before})
            if (shown)
                for (const CurvePoint& point : curveLine(*shown, window))
                    cover(point.value * curve.factor);
    return range;
}

} // namespace cadencora::stage
