// Plots of curves as SVG.

#include "stage/plot/plot.h"

#include "tests/stage/cli/program.h"
#include "tests/test_folder.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <numbers>

namespace cadencora::stage {
namespace {

struct Element {
    std::string name, text;
    std::map<std::string, std::string> attributes;
    std::vector<Element> children;

    // This element and all below it.
    void visit(const auto& take) const {
        take(*this);
        for (const Element& child : children)
            child.visit(take);
    }
    std::vector<Element> ofClass(const std::string& word) const {
        std::vector<Element> found;
        visit([&](const Element& one) {
            const auto held = one.attributes.find("class");
            if (held != one.attributes.end() &&
                (" " + held->second + " ").find(" " + word + " ") != std::string::npos)
                found.push_back(one);
        });
        return found;
    }
};

std::string plain(std::string text) {
    for (const auto& [entity, character] : std::map<std::string, std::string>{
             {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&amp;", "&"}})
        for (std::size_t at = 0; (at = text.find(entity, at)) != std::string::npos; ++at)
            text.replace(at, entity.size(), character);
    return text;
}

// A strict reader of the little XML that a picture needs; says false where it is not well-formed.
class Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}
    bool document(Element& root) { return element(root) && (skipBlanks(), rest_.empty()); }

private:
    bool take(std::string_view word) {
        if (!rest_.starts_with(word)) return false;
        rest_.remove_prefix(word.size());
        return true;
    }
    std::string until(std::string_view stops) {
        const std::string text(rest_.substr(0, rest_.find_first_of(stops)));
        rest_.remove_prefix(text.size());
        return text;
    }
    void skipBlanks() {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(" \n"), rest_.size()));
    }
    static bool soundText(const std::string& text) {
        return std::ranges::none_of(text, [](char c) { return c >= 0 && c < ' ' && c != '\n'; }) &&
               plain(text).size() + 3 * static_cast<std::size_t>(std::ranges::count(text, '&')) <=
                   text.size(); // each ampersand begins an entity, of four characters at least
    }
    bool element(Element& to) {
        if (!take("<")) return false;
        to.name = until(" \n/>");
        for (skipBlanks(); !rest_.starts_with(">") && !rest_.starts_with("/"); skipBlanks()) {
            const std::string name = until("= >");
            if (!take("=\"")) return false;
            const std::string value = until("\"<");
            if (!take("\"") || !soundText(value)) return false;
            if (!to.attributes.emplace(name, plain(value)).second) return false;
        }
        if (take("/>")) return true;
        if (!take(">")) return false;
        for (;;) {
            const std::string text = until("<");
            if (!soundText(text)) return false;
            to.text += plain(text);
            if (take("</")) return until(">") == to.name && take(">");
            if (!element(to.children.emplace_back())) return false;
        }
    }

    std::string_view rest_;
};

Element parsed(const Result<std::string>& svg) {
    Element root;
    EXPECT_TRUE(svg.ok()) << (svg.ok() ? "" : svg.problem().text());
    if (svg.ok()) {
        EXPECT_TRUE(Reader(svg.value()).document(root)) << svg.value();
    }
    return root;
}

struct Point {
    double x = 0, y = 0;
};

// The corners of a path of M, l, v and c; a cubic gives points on it.
std::vector<Point> flattened(const Element& path) {
    std::vector<Point> points;
    const std::string data = path.attributes.at("d");
    const char* at = data.c_str();
    char command = 0;
    const auto number = [&] {
        while (*at == ' ' || *at == ',')
            ++at;
        char* end = nullptr;
        const double value = std::strtod(at, &end);
        EXPECT_NE(at, end) << data;
        at = end == at ? data.c_str() + data.size() : end;
        return value;
    };
    while (*at) {
        if (std::string_view("Mlvc").find(*at) != std::string_view::npos) command = *at++;
        if (command == 'v') {
            points.push_back({points.back().x, points.back().y + number()});
        } else if (command == 'c') {
            std::array<Point, 4> p{points.back()};
            for (std::size_t i = 1; i < 4; ++i) {
                p[i].x = p[0].x + number();
                p[i].y = p[0].y + number();
            }
            for (int i = 1; i <= 200; ++i) {
                const double u = i / 200.0, w = 1 - u;
                const auto mix = [&](double Point::*c) {
                    return w * w * w * p[0].*c + 3 * w * w * u * p[1].*c + 3 * w * u * u * p[2].*c +
                           u * u * u * p[3].*c;
                };
                points.push_back({mix(&Point::x), mix(&Point::y)});
            }
        } else {
            const Point from = command == 'l' ? points.back() : Point{};
            const double x = from.x + number();
            points.push_back({x, from.y + number()});
        }
    }
    return points;
}

double distance(Point p, const std::vector<Point>& line) {
    double nearest = 1e9;
    for (std::size_t i = 0; i + 1 < line.size(); ++i) {
        const Point a = line[i], b = line[i + 1];
        const double dx = b.x - a.x, dy = b.y - a.y, square = dx * dx + dy * dy;
        const double u =
            square > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / square, 0.0, 1.0) : 0;
        nearest = std::min(nearest, std::hypot(p.x - a.x - u * dx, p.y - a.y - u * dy));
    }
    return nearest;
}

struct Plot : testing::Test {
    Scene scene;
    ItemId ball = scene.addItem(ItemType::object, "Ball");

    Plot() {
        scene.name = "Room";
        scene.lastFrame = 60;
    }
    Envelope& curve(MotionChannel which) { return scene.mutableMotion(ball, which); }
    Envelope& keyed(MotionChannel which, std::initializer_list<KeyData> keys) {
        for (KeyData key : keys) {
            key.time /= 30;
            curve(which).keys.append(key);
        }
        return curve(which);
    }
    Element drawn(std::vector<std::string> channels, const Scene* before = nullptr) const {
        return parsed(plotSvg({.scene = scene, .channels = std::move(channels), .before = before}));
    }
    // From frames and values to the pixels of a picture, by two marks of the first curve.
    static auto mapping(const Element& root, Point a, Point b) {
        const auto keys = root.ofClass("keyed");
        const Point first = flattened(keys.at(0)).front(), last = flattened(keys.at(0)).back();
        return [=](double frame, double value) {
            return Point{first.x + (frame - a.x) / (b.x - a.x) * (last.x - first.x),
                         first.y + (value - a.y) / (b.y - a.y) * (last.y - first.y)};
        };
    }
};

TEST_F(Plot, is_well_formed_whatever_the_names_and_the_same_each_time) {
    const std::string name = "\"<Bäll> & \xff\x01 " + std::string(500, 'w');
    const ItemId odd = scene.addItem(ItemType::object, name);
    scene.name = "]]> & \xc3";
    const auto svg = plotSvg({.scene = scene, .channels = {name + "/Scale.Y"}});
    const Element root = parsed(svg);
    EXPECT_EQ(root.name, "svg");
    const std::string full = root.ofClass("curve").at(0).children.at(0).text;
    EXPECT_EQ(full, "\"<Bäll> & \xef\xbf\xbd\xef\xbf\xbd " + std::string(500, 'w') + "/Scale.Y");
    std::string legend;
    root.visit([&](const Element& one) {
        if (one.name == "text" && one.text.find("Bäll") != std::string::npos) legend = one.text;
    });
    EXPECT_LT(legend.size(), 80u);
    EXPECT_TRUE(legend.ends_with("w/Scale.Y")) << legend;
    EXPECT_EQ(svg.value(), plotSvg({.scene = scene, .channels = {name + "/Scale.Y"}}).value());
    EXPECT_EQ(scene.motion(odd, scaleY).keys.size(), 0u);
}

TEST_F(Plot, marks_each_key_by_its_place_where_there_is_room) {
    keyed(positionX, {{0, 1}, {10, 2, Shape::linear, {}}, {20.5, 0, Shape::hold, {}}, {40, 5}});
    const Element some = drawn({"Ball/Position.X"});
    EXPECT_EQ(some.ofClass("key").size(), 4u);
    EXPECT_EQ(some.ofClass("between").size(), 1u);
    for (int frame = 0; frame <= 500; ++frame)
        curve(positionY).keys.append(frame / 30.0, frame % 7, Shape::linear);
    EXPECT_EQ(drawn({"Ball/Position.Y"}).ofClass("key").size(), 0u);
}

TEST_F(Plot, draws_holds_as_steps_splines_as_they_are_and_the_outside_dashed) {
    Envelope& x = keyed(positionX, {{10, 1, Shape::hold, {}},
                                    {20, 5, Shape::hold, {}},
                                    {35, 3},
                                    {50, 9, Shape::spline, {0, -1, 0}}});
    x.before = Behaviour::linear;
    x.after = Behaviour::offsetRepeat;
    const Element root = drawn({"Ball/Position.X"});
    const auto at = mapping(root, {10, 1}, {50, 9});
    const auto inner = flattened(root.ofClass("keyed").at(0));
    const double step = at(20, 0).x;
    EXPECT_EQ(std::ranges::count_if(inner, [&](Point p) { return std::abs(p.x - step) < 0.02; }), 2)
        << "straight up at the frame of the key";
    EXPECT_EQ(root.ofClass("outside").size(), 2u);
    for (const Element& outside : root.ofClass("outside"))
        EXPECT_TRUE(outside.attributes.contains("stroke-dasharray"));
    std::vector<Point> all = flattened(root.ofClass("outside").at(0));
    all.insert(all.end(), inner.begin(), inner.end());
    const auto after = flattened(root.ofClass("outside").at(1));
    all.insert(all.end(), after.begin(), after.end());
    for (double frame = 0; frame <= 60; frame += 0.37)
        EXPECT_LT(distance(at(frame, x.evaluate(frame / 30)), all), 0.1) << frame;
}

TEST_F(Plot, a_mirrored_stretch_runs_backwards_and_every_point_is_within_its_chart) {
    Envelope& x = keyed(positionX, {{10, 0}, {14, 8}, {20, 1, Shape::linear}});
    x.after = Behaviour::mirror;
    const Element root = drawn({"Ball/Position.X"});
    const auto at = mapping(root, {10, 0}, {20, 1});
    std::vector<Point> all = flattened(root.ofClass("outside").at(1));
    for (double frame = 20.1; frame < 60; frame += 0.37)
        EXPECT_LT(distance(at(frame, x.evaluate(frame / 30)), all), 0.1) << frame;
    Point low{1e9, 1e9}, high{}; // of the grid
    root.visit([&](const Element& one) {
        Point a, b;
        if (one.name != "path" || std::sscanf(one.attributes.at("d").c_str(), "M%lf,%lfL%lf,%lf",
                                              &a.x, &a.y, &b.x, &b.y) != 4)
            return;
        low = {std::min(low.x, a.x), std::min(low.y, a.y)};
        high = {std::max(high.x, b.x), std::max(high.y, b.y)};
    });
    ASSERT_LT(low.x + 100, high.x);
    for (const char* which : {"keyed", "outside"})
        for (const Element& path : root.ofClass(which))
            for (const Point p : flattened(path)) {
                EXPECT_GE(p.x, low.x - 0.1);
                EXPECT_LE(p.x, high.x + 0.1);
                EXPECT_GE(p.y, low.y - 0.1);
                EXPECT_LE(p.y, high.y + 0.1);
            }
}

TEST_F(Plot, begins_inside_a_span_ends_beyond_the_keys_and_steps_onto_the_last_hold) {
    Envelope& x = keyed(positionX, {{0, 0}, {20, 10, Shape::linear}, {40, 4, Shape::hold}});
    const Element root =
        parsed(plotSvg({.scene = scene, .channels = {"Ball/Position.X"}, .from = 10, .to = 50}));
    const auto line = flattened(root.ofClass("keyed").at(0));
    const auto outside = flattened(root.ofClass("outside").at(0));
    const double perFrame = (outside.back().x - line.front().x) / 40;
    const double perValue = (line.back().y - line.front().y) / (4 - 5);
    const auto at = [&](double frame, double value) {
        return Point{line.front().x + (frame - 10) * perFrame,
                     line.front().y + (value - 5) * perValue};
    };
    for (double frame = 10; frame < 40; frame += 0.7)
        EXPECT_LT(distance(at(frame, x.evaluate(frame / 30)), line), 0.1) << frame;
    EXPECT_LT(distance(at(40, 10), line), 0.1) << "held up to the last key";
    EXPECT_NEAR(line.back().y, at(40, 4).y, 0.1);
    EXPECT_NEAR(outside.front().y, at(40, 4).y, 0.1);
}

TEST_F(Plot, thins_dense_captures_to_a_tenth_of_a_pixel_with_their_peaks) {
    scene.lastFrame = 20'000;
    const auto value = [](int frame) {
        return std::sin(frame * 0.001) + 0.3 * std::sin(frame * 0.9) + (frame == 7777 ? 5 : 0);
    };
    for (int frame = 0; frame <= 20'000; ++frame) {
        curve(positionX).keys.append(frame / 30.0, value(frame), Shape::linear);
        curve(positionY).keys.append(frame / 30.0, frame * 0.25, Shape::linear);
    }
    const Element root = drawn({"Ball/Position.X"});
    const auto line = flattened(root.ofClass("keyed").at(0));
    EXPECT_LT(line.size(), 20'000u);
    const auto at = mapping(root, {0, value(0)}, {20'000, value(20'000)});
    const auto peak = std::ranges::min_element(line, {}, &Point::y);
    EXPECT_NEAR(peak->x, at(7777, 0).x, 0.1);
    EXPECT_NEAR(peak->y, at(0, value(7777)).y, 0.1);
    for (int frame = 0; frame <= 20'000; frame += 97)
        EXPECT_LT(distance(at(frame, value(frame)), line), 0.1) << frame;
    EXPECT_LE(flattened(drawn({"Ball/Position.Y"}).ofClass("keyed").at(0)).size(), 3u);
}

TEST_F(Plot, has_a_panel_per_unit_with_rotations_in_degrees_and_a_ghost_per_channel_of_before) {
    keyed(positionX, {{0, 1}, {60, 2}});
    keyed(heading, {{0, 0}, {60, std::numbers::pi}});
    scene.addChannel(scene.item(ball).group, "Dissolve");
    Scene before;
    before.addItem(ItemType::object, "Ball");
    const std::vector<std::string> names{"Ball/Dissolve", "Ball/Rotation.H", "Ball/Position.X"};
    const Element root = drawn(names, &before);
    EXPECT_EQ(root.ofClass("panel").size(), 3u);
    EXPECT_EQ(root.ofClass("ghost").size(), 2u) << "the other scene has no dissolve";
    EXPECT_TRUE(drawn(names).ofClass("ghost").empty());
    EXPECT_TRUE(drawn(names, &scene).ofClass("ghost").empty()) << "nothing changed";
    std::vector<std::string> values;
    for (const Element& text : drawn({"Ball/Rotation.H"}).ofClass("value"))
        values.push_back(text.text);
    EXPECT_EQ(values, (std::vector<std::string>{"0", "50", "100", "150"}));
}

TEST_F(Plot, draws_no_key_one_key_one_frame_and_values_of_any_size) {
    keyed(positionX, {{30, 4}});
    keyed(positionY, {{0, 1e-30}, {60, 3e-30}});
    keyed(positionZ, {{0, -1e90}, {60, 1e90}});
    for (const std::string axis : {"X", "Y", "Z"})
        for (const auto& [from, to] :
             {std::pair{30, 30}, {-farthestPlotFrame, farthestPlotFrame}}) {
            const Element root =
                parsed(plotSvg({.scene = scene,
                                .channels = {"Ball/Position." + axis, "Ball/Scale.X"},
                                .from = from,
                                .to = to}));
            EXPECT_GE(root.ofClass("frame").size(), 2u);
            EXPECT_GE(root.ofClass("value").size(), 4u);
            root.visit([](const Element& one) {
                for (const auto& [name, value] : one.attributes)
                    EXPECT_TRUE(value.find("nan") == value.npos && value.find("inf") == value.npos)
                        << value;
            });
        }
    keyed(scaleX, {{0, -1e308}, {60, 1e308}});
    EXPECT_EQ(plotSvg({.scene = scene, .channels = {"Ball/Scale.X"}}).problem().what,
              "the values of \"Ball/Scale.X\" are too large to draw");
}

TEST_F(Plot, refuses_unknown_channels_and_frames_that_run_backwards) {
    const auto unknown = plotSvg({.scene = scene, .channels = {"Ball/Rotation.X"}});
    ASSERT_FALSE(unknown);
    EXPECT_EQ(unknown.problem().what, "there is no channel \"Ball/Rotation.X\"");
    EXPECT_TRUE(unknown.problem().detail.starts_with("\"Ball/Rotation.H\", \"Ball/Rotation.P\""))
        << unknown.problem().detail;
    EXPECT_FALSE(plotSvg({.scene = scene, .channels = {}}));
    EXPECT_FALSE(plotSvg({.scene = scene, .channels = {"Ball/Scale.X"}, .from = 9, .to = 3}));
}

TEST(PlotCommand, writes_a_picture_to_a_file_or_prints_it) {
    namespace fs = std::filesystem;
    const fs::path output = testFolder() / "plot_command.svg";
    const std::string input = std::string(CADENCORA_SOURCE_DIR) + "/docs/examples/ball.stage";
    const std::string before = output.string() + ".stage";
    const std::string text = fileText(input);
    std::ofstream(before) << std::string(text).replace(text.find("0.8], [40"), 3, "0.5");
    const auto run = [&](std::vector<std::string> more) {
        more.insert(more.begin(), {"plot", input, "--channel"});
        return runProgramFile(more, output.string() + ".errors");
    };
    const auto printed = run({"Head/Face/Smile", "--before", before, "--to", "40"});
    ASSERT_EQ(printed.status, 0) << printed.errors;
    EXPECT_EQ(parsed(printed.output).ofClass("ghost").size(), 1u);
    ASSERT_EQ(run({"Head/Face/Smile", "--before", before, "--to", "40", "-o", output}).status, 0);
    EXPECT_EQ(fileText(output), printed.output);
    const auto unknown = run({"Head/Smile", "-o", output});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_NE(unknown.errors.find("\"Head/Face/Smile\""), std::string::npos) << unknown.errors;
    EXPECT_EQ(run({"Head/Face/Smile", "--fps", "fast"}).status, 2);
    fs::remove(output);
    fs::remove(before);
    fs::remove(output.string() + ".errors");
}

} // namespace
} // namespace cadencora::stage
