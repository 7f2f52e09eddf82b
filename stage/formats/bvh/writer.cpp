// Writing BVH: the hierarchy, then a row for each frame.

#include "stage/formats/bvh/bvh.h"
#include "stage/formats/bvh/plan.h"

#include "stage/base/file.h"
#include "stage/formats/bvh/rotation_sampler.h"
#include "stage/formats/text/curve_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

namespace cadencora::stage::bvh {

namespace {

struct DirectColumn {
    FrameSampler sampler;
    double unit; // file units per scene unit
    std::size_t column;
};

struct ReorderedColumns {
    RotationSampler sampler;
    std::array<std::size_t, 3> column; // in the row; none where the file has no such column
};

// A name that ends with its line and is not taken for a brace.
std::string writableName(const std::string& name) {
    std::string text = name;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (isOpeningWord(name, i) ||
            (static_cast<unsigned char>(name[i]) < 0x20 && name[i] != '\t'))
            text[i] = '_';
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    if (std::ranges::all_of(text, isBlank)) return "_";
    if (isBlank(text.front())) text.front() = '_';
    if (isBlank(text.back())) text.back() = '_';
    return text;
}

void appendOffset(std::string& text, std::size_t depth, const Vec3& offset) {
    text.append(depth, '\t') += "OFFSET";
    for (const double number : offset) {
        text += ' ';
        appendFixed(text, number);
    }
    text += '\n';
}

void appendEndSite(std::string& text, std::size_t depth, const Vec3& offset) {
    text.append(depth, '\t') += "End Site\n";
    text.append(depth, '\t') += "{\n";
    appendOffset(text, depth + 1, offset);
    text.append(depth, '\t') += "}\n";
}

void appendJoint(std::string& text, const Scene& scene, const Joint& joint,
                 const std::string& name) {
    const std::size_t inside = joint.depth + 1;
    text.append(joint.depth, '\t') += (joint.depth == 0 ? "ROOT " : "JOINT ") + name + '\n';
    text.append(joint.depth, '\t') += "{\n";
    Vec3 offset{};
    for (const MotionChannel c : {positionX, positionY, positionZ})
        offset[c] = scene.motion(joint.item, c).rest;
    appendOffset(text, inside, offset);
    text.append(inside, '\t') += "CHANNELS " + std::to_string(joint.channels.size());
    for (const MotionChannel c : joint.channels)
        text.append(" ") += channelNames[c];
    text += '\n';
    const auto& endSites = scene.item(joint.item).joint.endSites;
    for (const Vec3& endSite : endSites)
        appendEndSite(text, inside, endSite);
    if (endSites.empty() && joint.plainLeaf) appendEndSite(text, inside, {});
}

void writeHierarchy(AtomicFile& file, const Scene& scene, Plan& plan) {
    std::string text = "HIERARCHY\n";
    std::size_t renamed = 0;
    for (std::size_t i = 0; i < plan.joints.size(); ++i) {
        const Joint& joint = plan.joints[i];
        const std::string& name = scene.item(joint.item).writtenName();
        const std::string written = writableName(name);
        if (written != name) ++renamed;
        appendJoint(text, scene, joint, written);
        const std::size_t following = i + 1 < plan.joints.size() ? plan.joints[i + 1].depth : 0;
        for (std::size_t depth = joint.depth + 1; depth > following; --depth)
            text.append(depth - 1, '\t') += "}\n";
        file.write(text);
        text.clear();
    }
    if (renamed > 0)
        plan.warnings.push_back("names that a line of BVH cannot hold were altered: " +
                                std::to_string(renamed) + " joints");
}

// In as few decimals, from six on, as make a reader find the rate again, and as keep a program that
// takes the number at its word within two microseconds in a quarter of an hour.
std::string frameTimeText(const FrameRate& rate, const Memory* memory) {
    if (memory && memory->rate == rate && !memory->frameTime.empty()) return memory->frameTime;
    std::string text;
    for (int decimals = 6; decimals <= 16; ++decimals) {
        char buffer[64];
        const auto result = std::to_chars(buffer, buffer + sizeof buffer, 1.0 / rate.perSecond(),
                                          std::chars_format::fixed, decimals);
        text.assign(buffer, result.ptr);
        const double error = std::strtod(text.c_str(), nullptr) * rate.perSecond() - 1;
        if (FrameRate::fromFrameTime(text) == rate && std::abs(error) < 2e-9) break;
    }
    return text;
}

class RowWriter {
public:
    RowWriter(const Scene& scene, const Plan& plan) : scene_(scene), row_(plan.columns) {
        std::size_t first = 0;
        for (const Joint& joint : plan.joints) {
            addJoint(joint, plan.memory, first);
            first += joint.channels.size();
        }
    }

    // False where a value is not a number that a file can hold.
    bool write(AtomicFile& file, std::int64_t frame) {
        const double time = scene_.rate.timeOf(frame);
        for (DirectColumn& column : direct_)
            row_[column.column] = column.sampler.at(time) * column.unit;
        for (ReorderedColumns& joint : reordered_) {
            const Vec3 degrees = joint.sampler.at(time);
            for (std::size_t n = 0; n < 3; ++n)
                if (joint.column[n] != RotationColumns::none) row_[joint.column[n]] = degrees[n];
        }
        text_.clear();
        for (const double value : row_) {
            if (!std::isfinite(value)) return false;
            appendFixed(text_, value);
            text_ += ' ';
        }
        if (!text_.empty()) text_.pop_back();
        text_ += '\n';
        file.write(text_);
        return true;
    }

    // After the last row.
    void addWarnings(std::vector<std::string>& warnings) const {
        std::size_t between = 0, before = 0;
        const auto count = [&](const FrameSampler& sampler) {
            between += sampler.keysBetween() ? 1 : 0;
            before += sampler.keysBeforeStart() ? 1 : 0;
        };
        for (const DirectColumn& column : direct_)
            count(column.sampler);
        for (const ReorderedColumns& joint : reordered_)
            std::ranges::for_each(joint.sampler.samplers(), count);
        if (between > 0)
            warnings.push_back("keys are between frames, where a row per frame cannot hold "
                               "them: " +
                               std::to_string(between) + " channels");
        if (before > 0)
            warnings.push_back("keys before frame 0 are left out: " + std::to_string(before) +
                               " channels");
    }

private:
    void addJoint(const Joint& joint, const Memory* memory, std::size_t first) {
        const RotationColumns rotations = rotationColumns(joint.channels);
        for (std::size_t c = 0; c < joint.channels.size(); ++c) {
            const bool turns = isRotation(joint.channels[c]);
            if (turns && !rotations.direct) continue;
            direct_.push_back({{scene_.motion(joint.item, joint.channels[c]), scene_.rate},
                               turns ? 1 / radiansPerDegree : 1.0,
                               first + c});
        }
        if (rotations.direct) return;
        reordered_.push_back({{scene_, memory, joint.item, rotations.order}, rotations.column});
        for (std::size_t& column : reordered_.back().column)
            if (column != RotationColumns::none) column += first;
    }

    const Scene& scene_;
    std::vector<DirectColumn> direct_;
    std::vector<ReorderedColumns> reordered_;
    std::vector<double> row_;
    std::string text_;
};

} // namespace

Result<Written> write(const Scene& scene, const std::filesystem::path& path,
                      const WriteOptions& options) {
    auto planned = makePlan(scene, path);
    if (!planned) return planned.problem();
    Plan& plan = *planned;
    auto file = AtomicFile::create(path);
    if (!file) return file.problem();

    writeHierarchy(*file, scene, plan);
    file->write("MOTION\nFrames: " + std::to_string(plan.frames) +
                "\nFrame Time: " + frameTimeText(scene.rate, plan.memory) + "\n");
    RowWriter rows(scene, plan);
    constexpr std::int64_t pace = 64; // frames between two words about the progress
    for (std::int64_t frame = 0; frame < plan.frames; ++frame) {
        if (!rows.write(*file, frame))
            return Problem{"cannot write the scene as BVH", path.string(),
                           "a value at frame " + std::to_string(frame) + " is not finite"};
        const double share = static_cast<double>(frame) / static_cast<double>(plan.frames);
        if (frame % pace == 0 && !options.goesOn(share)) return writingStopped(path);
    }
    rows.addWarnings(plan.warnings);
    if (auto written = file->commit(); !written) return written.problem();
    return Written{std::move(plan.warnings), {}};
}

} // namespace cadencora::stage::bvh
