// Reading BVH: the hierarchy, then the rows.

#include "stage/formats/bvh/bvh.h"

#include "stage/formats/bvh/layout.h"

#include "stage/base/text.h"
#include "stage/formats/text/text_reader.h"

#include <algorithm>

namespace cadencora::stage::bvh {

namespace {

// A column whose numbers are keys of one channel.
struct DirectColumn {
    std::size_t column;
    double unit; // scene units per file unit
    KeyStore* keys;
};

// The rotation columns of a joint whose order is not heading, pitch, bank.
struct ReorderedJoint {
    RotationOrder order;
    std::array<std::size_t, 3> column; // in the row; none where the file has no such column
    std::array<KeyStore*, 3> keys;     // heading, pitch, bank
    std::vector<Vec3>* remembered;
    Vec3 before{}; // heading, pitch, bank of the frame before
};

class Reader {
public:
    Reader(std::string_view text, const std::filesystem::path& path, const ReadOptions& options)
        : in_(text, path.string()), path_(path), options_(options), limits_(options.limits) {}

    Result<Loaded> read() {
        if (!hierarchy() || !motionHead() || !rows()) return in_.problem();
        finish();
        return std::move(loaded_);
    }

private:
    struct OpenJoint {
        ItemId item;
        bool offset = false, channels = false, children = false;
    };

    bool threeNumbers(Vec3& numbers) {
        for (double& number : numbers) {
            in_.skipSpace();
            if (!in_.number(number)) return false;
        }
        return true;
    }

    bool hierarchy();
    bool jointLine();
    bool joint(ItemId parent);
    bool name(std::string& text);
    bool offset(OpenJoint& joint);
    bool channels(OpenJoint& joint);
    bool endSite(OpenJoint& joint);
    bool motionHead();
    bool label(std::string_view text);
    bool rows();
    bool row(std::vector<double>& numbers);
    void planColumns();
    void addKeys(const std::vector<double>& numbers, double time);
    double shareDone(std::size_t frame) const {
        const double share = static_cast<double>(frame) / static_cast<double>(claimedFrames_);
        return claimedFrames_ > 0 ? std::min(share, 1.0) : 0;
    }
    void finish();

    Scene& scene() { return loaded_.scene; }

    TextReader in_;
    const std::filesystem::path& path_;
    const ReadOptions& options_;
    const ReadLimits& limits_;
    Loaded loaded_;
    std::shared_ptr<Memory> memory_ = std::make_shared<Memory>();
    ItemId object_ = ItemId::none;
    std::vector<OpenJoint> open_;     // the joints around the current place, outermost first
    std::vector<ItemId> withColumns_; // the joints in the order of their columns
    std::size_t columns_ = 0;
    std::size_t keysPerRow_ = 0;
    long long claimedFrames_ = 0;
    std::vector<DirectColumn> direct_;
    std::vector<ReorderedJoint> reordered_;
};

bool Reader::hierarchy() {
    const std::string stem = path_.stem().string();
    scene().name = stem;
    object_ = scene().addItem(ItemType::object, stem);
    if (!in_.word("HIERARCHY")) return in_.expected("HIERARCHY");
    if (!in_.word("ROOT")) return in_.expected("ROOT and the name of a joint");
    if (!joint(ItemId::none)) return false;
    while (true) {
        if (!open_.empty()) {
            if (!jointLine()) return false;
        } else if (in_.word("ROOT")) {
            if (!joint(ItemId::none)) return false;
        } else {
            return in_.word("MOTION") || in_.expected("MOTION or a further ROOT");
        }
    }
}

// One statement inside a joint.
bool Reader::jointLine() {
    OpenJoint& current = open_.back();
    if (in_.word("OFFSET")) return offset(current);
    if (!current.offset) return in_.expected("OFFSET with three numbers");
    if (in_.word("CHANNELS")) return channels(current);
    if (in_.word("JOINT")) {
        current.children = true;
        return joint(current.item);
    }
    if (in_.word("End")) return endSite(current);
    if (!in_.word("}")) return in_.expected("CHANNELS, JOINT, End Site or }");
    open_.pop_back();
    return true;
}

bool Reader::joint(ItemId parent) {
    if (open_.size() + 1 >= limits_.depth) // the object that owns the joints is above them
        return in_.fail("the joints are nested too deeply",
                        "the limit is " + std::to_string(limits_.depth - 1));
    const std::size_t items = scene().itemCount() + 1;
    if (items > limits_.items || items * motionChannelCount > limits_.channels)
        return in_.fail("the file has too many joints",
                        "the limits are " + std::to_string(limits_.items) + " items and " +
                            std::to_string(limits_.channels) + " channels");
    std::string jointName;
    if (!name(jointName)) return false;
    if (!in_.word("{")) return in_.expected("{");
    const ItemId id = scene().addItem(ItemType::bone, std::move(jointName),
                                      parent == ItemId::none ? object_ : parent, object_);
    open_.push_back({id});
    return true;
}

// The rest of the line, up to an opening brace.
bool Reader::name(std::string& text) {
    in_.skipBlanks();
    const std::string_view line = in_.peekLine();
    std::size_t length = 0;
    while (length < line.size() && !isOpeningWord(line, length))
        ++length;
    text = trimmed(line.substr(0, length));
    if (text.empty()) return in_.expected("the name of a joint");
    in_.skip(length);
    return true;
}

bool Reader::offset(OpenJoint& joint) {
    if (joint.offset) return in_.fail("a joint has one OFFSET", "this is the second");
    Vec3 at{};
    if (!threeNumbers(at)) return in_.expected("OFFSET with three numbers");
    for (const MotionChannel c : {positionX, positionY, positionZ})
        scene().mutableMotion(joint.item, c).rest = at[c];
    joint.offset = true;
    return true;
}

bool Reader::channels(OpenJoint& joint) {
    if (joint.channels) return in_.fail("a joint has one CHANNELS line", "this is the second");
    if (joint.children) return in_.fail("CHANNELS comes before the joints inside a joint");
    in_.skipSpace();
    const auto count = parseInteger(in_.peek());
    if (!count || *count < 0 || *count > static_cast<long long>(channelNames.size()))
        return in_.expected("CHANNELS with a count from 0 to 6");
    in_.skipWord();
    std::vector<MotionChannel>& layout = scene().item(joint.item).joint.channels;
    for (long long n = 0; n < *count; ++n) {
        in_.skipSpace();
        const auto found = std::ranges::find_if(
            channelNames, [&](auto known) { return equalNoCase(known, in_.peek()); });
        if (found == channelNames.end())
            return in_.expected("a channel such as Xposition or Zrotation, " +
                                std::to_string(*count) + " in all");
        const auto channel = static_cast<MotionChannel>(found - channelNames.begin());
        if (std::ranges::find(layout, channel) != layout.end())
            return in_.fail("a joint has each channel once",
                            quotedWord(in_.peek()) + " is repeated");
        in_.skipWord();
        layout.push_back(channel);
    }
    joint.channels = true;
    columns_ += layout.size();
    if (!layout.empty()) withColumns_.push_back(joint.item);
    return true;
}

bool Reader::endSite(OpenJoint& joint) {
    joint.children = true;
    Vec3 at{};
    if (!in_.word("Site")) return in_.expected("Site after End");
    if (!in_.word("{")) return in_.expected("{");
    if (!in_.word("OFFSET") || !threeNumbers(at)) return in_.expected("OFFSET with three numbers");
    if (!in_.word("}")) return in_.expected("} at the end of the End Site");
    scene().item(joint.item).joint.endSites.push_back(at);
    return true;
}

// Words and a colon, with or without blanks between and after them.
bool Reader::label(std::string_view text) {
    in_.skipSpace();
    while (!text.empty()) {
        const std::size_t length = std::min(text.find(' '), text.size());
        if (!equalNoCase(in_.peekLine().substr(0, length), text.substr(0, length))) return false;
        in_.skip(length);
        in_.skipBlanks();
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    if (!in_.peekLine().starts_with(':')) return false;
    in_.skip(1);
    in_.skipBlanks();
    return true;
}

bool Reader::motionHead() {
    if (!label("Frames")) return in_.expected("Frames: and a count");
    const auto frames = parseInteger(in_.peek());
    if (!frames || *frames < 0) return in_.expected("Frames: and a count");
    claimedFrames_ = *frames;
    in_.skipWord();

    const std::string wanted = "Frame Time: and the seconds of a frame";
    if (!label("Frame Time")) return in_.expected(wanted);
    const std::string_view time = in_.peek();
    const auto rate = FrameRate::fromFrameTime(time);
    // A skeleton without motion may have a frame time of 0.
    if (!rate && (claimedFrames_ > 0 || !parseNumber(time))) return in_.expected(wanted);
    if (rate) memory_->frameTime = time;
    scene().rate = memory_->rate = rate.value_or(FrameRate());
    in_.skipWord();
    in_.skipBlanks();
    return in_.atLineEnd() || in_.expected("the end of the line");
}

void Reader::planColumns() {
    memory_->angles.resize(scene().itemCount());
    std::size_t first = 0; // the joint's first column
    for (const ItemId id : withColumns_) {
        const std::vector<MotionChannel>& layout = scene().item(id).joint.channels;
        const RotationColumns rotations = rotationColumns(layout);
        for (std::size_t c = 0; c < layout.size(); ++c) {
            if (isRotation(layout[c]) && !rotations.direct) continue;
            direct_.push_back({first + c, isRotation(layout[c]) ? radiansPerDegree : 1.0,
                               &scene().mutableMotion(id, layout[c]).keys});
        }
        if (!rotations.direct) {
            ReorderedJoint joint{rotations.order, rotations.column, {}, nullptr};
            for (std::size_t& column : joint.column)
                if (column != RotationColumns::none) column += first;
            for (std::size_t n = 0; n < 3; ++n)
                joint.keys[n] =
                    &scene().mutableMotion(id, static_cast<MotionChannel>(heading + n)).keys;
            joint.remembered = &memory_->angles[Scene::positionOf(id)];
            reordered_.push_back(joint);
        }
        first += layout.size();
    }
    keysPerRow_ = direct_.size() + 3 * reordered_.size();
}

void Reader::addKeys(const std::vector<double>& numbers, double time) {
    for (const DirectColumn& column : direct_)
        column.keys->append(time, numbers[column.column] * column.unit, Shape::linear);
    for (ReorderedJoint& joint : reordered_) {
        Vec3 degrees{}, radians{};
        for (std::size_t n = 0; n < 3; ++n) {
            if (joint.column[n] != RotationColumns::none) degrees[n] = numbers[joint.column[n]];
            radians[n] = degrees[n] * radiansPerDegree;
        }
        // The first frame stays near the file's angles, full turns included.
        if (joint.remembered->empty())
            joint.before = reordered(radians, joint.order, headingPitchBank);
        joint.before = anglesNear(rotation(radians, joint.order), headingPitchBank, joint.before);
        for (std::size_t n = 0; n < 3; ++n)
            joint.keys[n]->append(time, joint.before[n], Shape::linear);
        joint.remembered->push_back(degrees);
    }
}

// The numbers of one line.
bool Reader::row(std::vector<double>& numbers) {
    for (std::size_t c = 0; c < columns_; ++c) {
        if (in_.number(numbers[c])) {
            in_.skipBlanks();
            continue;
        }
        const std::string wanted = "a row of " + std::to_string(columns_) + " numbers";
        if (!in_.atLineEnd()) return in_.expected(wanted);
        return in_.fail("expected " + wanted, "the row has " + std::to_string(c));
    }
    if (in_.atLineEnd()) return true;
    return in_.fail("expected a row of " + std::to_string(columns_) + " numbers",
                    "the row goes on with " + quotedWord(in_.peek()));
}

bool Reader::rows() {
    planColumns();
    std::vector<double> numbers(columns_);
    std::size_t frame = 0;
    in_.skipSpace();
    if (!in_.atEnd() && memory_->frameTime.empty())
        return in_.fail("the frames have no length", "Frame Time is 0 and yet there are rows");
    for (; !in_.atEnd(); in_.skipSpace(), ++frame) {
        if (columns_ == 0) return in_.expected("the end of the file: no joint has channels");
        if (frame % 64 == 0 && !options_.goesOn(shareDone(frame))) return in_.fail(readingStopped);
        if ((frame + 1) * keysPerRow_ > limits_.keys)
            return in_.fail("the file has too many keys",
                            "the limit is " + std::to_string(limits_.keys));
        if (!row(numbers)) return false;
        addKeys(numbers, scene().rate.timeOf(static_cast<std::int64_t>(frame)));
    }
    memory_->frames = frame;
    return true;
}

void Reader::finish() {
    const auto frames = static_cast<std::int64_t>(memory_->frames);
    if (claimedFrames_ != frames)
        loaded_.warnings.push_back("the file says it has " + std::to_string(claimedFrames_) +
                                   " frames and has " + std::to_string(frames) +
                                   " rows; the rows count");
    scene().lastFrame = scene().previewLast = std::max<std::int64_t>(frames - 1, 0);
    scene().source = std::move(memory_);
}

} // namespace

bool isText(std::string_view head) {
    return TextReader(head, {}).word("HIERARCHY");
}

Result<Loaded> read(std::string_view text, const std::filesystem::path& path,
                    const ReadOptions& options) {
    return Reader(text, path, options).read();
}

} // namespace cadencora::stage::bvh
