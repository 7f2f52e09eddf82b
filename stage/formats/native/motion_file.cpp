#include "stage/formats/native/motion_file.h"

#include "stage/base/text.h"
#include "stage/formats/text/curve_text.h"
#include "stage/formats/text/text_reader.h"

#include <algorithm>

namespace cadencora::stage {

namespace {

constexpr std::string_view kind = "cadencora motion "; // the first line, up to the version
constexpr std::string_view version = "1";

// Writing

std::string head() {
    return std::string(kind) + std::string(version) + "\n";
}

void appendName(std::string& text, std::string_view name) {
    constexpr std::string_view digits = "0123456789abcdef";
    text += '"';
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20) {
            text += {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
        } else {
            if (c == '"' || c == '\\') text += '\\';
            text += c;
        }
    }
    text += '"';
}

void appendEnvelope(std::string& text, const Envelope& envelope) {
    constexpr std::size_t keyLength = 44; // two long numbers and a shape
    const std::size_t length = text.size() + keyLength * envelope.keys.size();
    // Never less than doubled: an item has many channels.
    if (length > text.capacity()) text.reserve(std::max(length, 2 * text.capacity()));
    text += "rest ";
    appendNumber(text, envelope.rest);
    text += "\nbehaviour ";
    text += behaviourName(envelope.before);
    text += ' ';
    text += behaviourName(envelope.after);
    text += "\nkeys " + std::to_string(envelope.keys.size()) + '\n';
    for (auto key = envelope.keys.begin(); key; key.advance()) {
        appendNumber(text, key.time());
        appendKey(text, key, ' ');
        text += '\n';
    }
}

void appendGroup(std::string& text, const Scene& scene, const ChannelGroup& group,
                 const std::string& path) {
    for (const ChannelId id : group.channels) {
        const Channel& channel = scene.channel(id);
        text += "channel" + path + ' ';
        appendName(text, channel.name);
        text += '\n';
        appendEnvelope(text, scene.envelope(channel.envelope));
    }
    for (const GroupId id : group.groups) {
        std::string inner = path + ' ';
        appendName(inner, scene.group(id).name);
        appendGroup(text, scene, scene.group(id), inner);
    }
}

// Reading

class MotionReader {
public:
    MotionReader(std::string_view text, const std::string& where) : in_(text, where) {}

    Result<std::vector<Envelope>> envelopes() {
        std::vector<Envelope> read;
        do {
            if (!head() || !line("envelope") || !curve(read.emplace_back()) || !line("end"))
                return in_.problem();
            in_.skipSpace();
        } while (!in_.atEnd());
        return read;
    }

    Result<ItemMotion> itemMotion() {
        ItemMotion read;
        if (!head() || !keyword("item") || !name(read.item) || !lineEnd()) return in_.problem();
        while (in_.word("channel"))
            if (!channel(read.channels.emplace_back())) return in_.problem();
        if (!tail()) return in_.problem();
        return read;
    }

private:
    bool keyword(const std::string& text) {
        if (!in_.word(text)) return in_.expected(text);
        in_.skipBlanks();
        return true;
    }
    bool lineEnd() {
        in_.skipBlanks();
        return in_.atLineEnd() || in_.expected("the end of the line");
    }
    bool line(const std::string& text) { return keyword(text) && lineEnd(); }

    bool head() {
        if (!isMotionText(in_.peekLine()))
            return in_.expected("a motion file, which begins with " + inQuotes(kind));
        const std::string_view found = trimmed(in_.peekLine().substr(kind.size()));
        if (found != version)
            return in_.fail("the version of this motion file is not known",
                            "known is " + std::string(version) + ", found " + quotedWord(found));
        in_.skip(in_.peekLine().size());
        return true;
    }

    bool tail() {
        if (!line("end")) return false;
        in_.skipSpace();
        return in_.atEnd() || in_.expected("nothing after the end");
    }

    bool channel(ChannelMotion& motion) {
        in_.skipBlanks();
        std::vector<std::string>& names = motion.groups;
        do {
            if (!name(names.emplace_back())) return false;
            in_.skipBlanks();
        } while (!in_.atLineEnd());
        motion.channel = std::move(names.back());
        names.pop_back();
        return curve(motion.envelope);
    }

    bool name(std::string& text);
    bool behaviour(Behaviour& behaviour);
    bool curve(Envelope& envelope);
    bool key(KeyStore& keys);

    TextReader in_;
};

bool MotionReader::name(std::string& text) {
    const std::string wanted = "a name in quotes";
    const std::string_view rest = in_.peekLine();
    if (!rest.starts_with('"')) return in_.expected(wanted);
    std::size_t at = 1;
    for (; at < rest.size() && rest[at] != '"'; ++at) {
        if (rest[at] != '\\') {
            text += rest[at];
            continue;
        }
        const char escaped = ++at < rest.size() ? rest[at] : '\0';
        if (escaped == '"' || escaped == '\\') {
            text += escaped;
            continue;
        }
        const auto digit = [&](std::size_t n) {
            return n < rest.size() ? std::string_view("0123456789abcdef").find(rest[n])
                                   : std::string_view::npos;
        };
        const std::size_t high = digit(at + 1), low = digit(at + 2);
        if (escaped != 'x' || high == std::string_view::npos || low == std::string_view::npos)
            return in_.fail("a name has an unknown escape", R"(known are \", \\ and \xHH)");
        text += static_cast<char>(high * 16 + low);
        at += 2;
    }
    if (at >= rest.size()) return in_.expected(wanted + " that ends");
    in_.skip(at + 1);
    return true;
}

bool MotionReader::behaviour(Behaviour& behaviour) {
    in_.skipBlanks();
    const auto named = behaviourNamed(in_.peek());
    if (!named) return in_.expected("one of " + behaviourList());
    behaviour = *named;
    in_.skipWord();
    return true;
}

bool MotionReader::curve(Envelope& envelope) {
    if (!keyword("rest")) return false;
    if (!in_.number(envelope.rest)) return in_.expected("a number");
    if (!lineEnd() || !keyword("behaviour") || !behaviour(envelope.before) ||
        !behaviour(envelope.after) || !lineEnd() || !keyword("keys"))
        return false;
    const auto count = parseInteger(in_.peek());
    if (!count || *count < 0) return in_.expected("the number of keys");
    in_.skipWord();
    if (!lineEnd()) return false;
    for (long long n = 0; n < *count; ++n)
        if (!key(envelope.keys)) return false;
    return true;
}

bool MotionReader::key(KeyStore& keys) {
    in_.skipSpace();
    KeyData key;
    if (!in_.number(key.time)) return in_.expected("a key: time, value, shape and parameters");
    in_.skipBlanks();
    if (!in_.number(key.value)) return in_.expected("the value of a key");
    in_.skipBlanks();
    if (!in_.atLineEnd()) {
        double shape = 0;
        const bool read = in_.number(shape);
        const auto known = read ? shapeNumbered(shape) : std::nullopt;
        if (!known) return in_.expected("the shape of a key: 0, 1, 2 or 4");
        key.shape = *known;
        in_.skipBlanks();
    }
    std::size_t used = 0;
    for (; used < parameterCount && !in_.atLineEnd(); ++used) {
        if (!in_.number(key.parameters[used])) return in_.expected("a shape parameter");
        in_.skipBlanks();
    }
    if (!lineEnd()) return false;
    if (!keys.empty() && !(keys.last().time() < key.time))
        return in_.fail("keys stand in the order of their times",
                        "this one is not later than the one before");
    if (used > 0) {
        keys.append(key);
    } else {
        keys.append(key.time, key.value, key.shape);
    }
    return true;
}

} // namespace

bool isMotionText(std::string_view head) {
    return head.starts_with(kind);
}

std::string envelopeText(const Envelope& envelope) {
    std::string text = head() + "envelope\n";
    appendEnvelope(text, envelope);
    text += "end\n";
    return text;
}

std::string itemMotionText(const Scene& scene, ItemId item) {
    std::string text = head() + "item ";
    appendName(text, scene.item(item).name);
    text += '\n';
    appendGroup(text, scene, scene.group(scene.item(item).group), "");
    text += "end\n";
    return text;
}

Result<std::vector<Envelope>> parseEnvelopes(std::string_view text, const std::string& where) {
    return MotionReader(text, where).envelopes();
}

Result<ItemMotion> parseItemMotion(std::string_view text, const std::string& where) {
    return MotionReader(text, where).itemMotion();
}

} // namespace cadencora::stage
