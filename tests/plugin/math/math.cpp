// Matrices, item transforms and world values: by hand where the answer is known, else against the
// stage's own transforms, which are computed another way and in double precision.

#include "plugin/host/lookup.h"
#include "plugin/math/world_values.h"
#include "stage/scene/transform.h"
#include "tests/plugin/rig.h"

#include <cmath>
#include <numbers>
#include <random>

namespace cadencora::stage {
namespace {

using std::numbers::pi;
using Point = cadencora::Vec3; // the plug-in's own, in single precision
using Matrix = cadencora::Mat3;

std::vector<float> elements(const Mat4& m) {
    return {m.m, m.m + 16};
}

Mat4 identity() {
    Mat4 m;
    identity4(&m);
    return m;
}

Point through(const Mat4& m, const Point& p) {
    Point out;
    transformp(&p, &m, &out);
    return out;
}

void expectVector(const Point& v, double x, double y, double z, double within = 1e-6) {
    EXPECT_NEAR(v.x, x, within);
    EXPECT_NEAR(v.y, y, within);
    EXPECT_NEAR(v.z, z, within);
}

TEST(Matrices, multiply_in_place_and_invert_what_can_be_inverted) {
    const Mat4 a{{2, 0.5f, 0, 0, -1, 3, 0.25f, 0, 0, 1, 1.5f, 0, 4, -5, 6, 1}};
    const Mat4 b{{0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 2, 0, 1, 2, 3, 1}};
    Mat4 product, left = a, right = b, inverse = identity();
    matmul4(&a, &b, &product);
    matmul4(&left, &b, &left);
    matmul4(&a, &right, &right);
    EXPECT_EQ(elements(left), elements(product));
    EXPECT_EQ(elements(right), elements(product));
    // First a, then b: rows times columns.
    expectVector(through(product, {1, 1, 1}), 1 + 0.5, 2 + 5, 3 + 15.5);

    inverse4(&a, &inverse);
    Mat4 unit;
    matmul4(&a, &inverse, &unit);
    for (int i = 0; i < 16; ++i)
        EXPECT_NEAR(unit.m[i], i % 5 == 0 ? 1 : 0, 1e-6);
    EXPECT_NEAR(det4(&a), 2 * (3 * 1.5 - 0.25) + 0.5 * 1.5, 1e-6) << "along the first row";

    // Row 1, column 2 of the cofactors; the minor's columns are 0, 1 and 3.
    const Mat4 full{{2, 0.5f, 3, 1, -1, 3, 0.25f, 5, 0, 1, 1.5f, 7, 4, -5, 6, 1}};
    Matrix minor;
    initm3(&minor, 2, 0.5f, 1, 0, 1, 7, 4, -5, 1);
    Mat4 adjoint;
    adjoint4(&full, &adjoint);
    EXPECT_EQ(adjoint.m[4 * 2 + 1], -det3(&minor));
    matmul4(&full, &adjoint, &unit);
    for (int i = 0; i < 16; ++i)
        EXPECT_NEAR(unit.m[i], i % 5 == 0 ? det4(&full) : 0, 1e-4);

    Mat4 singular = identity(), kept{{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}};
    singular.m[5] = 0.9e-6f;
    inverse4(&singular, &kept);
    EXPECT_EQ(kept.m[15], 16) << "the caller's storage stays";
    singular.m[5] = 1.1e-6f;
    inverse4(&singular, &kept);
    EXPECT_NEAR(kept.m[5] * 1.1e-6, 1, 1e-6);

    Mat4 perspective = identity();
    perspective.m[15] = 0;
    expectVector(through(perspective, {1, 2, 3}), 1, 2, 3);
    perspective.m[15] = 2;
    expectVector(through(perspective, {1, 2, 3}), 0.5, 1, 1.5);
}

TEST(Rotations, turn_bank_first_and_heading_last) {
    const struct {
        HPB angles;
        Point from, to;
    } turns[] = {{{pi / 2, 0, 0}, {0, 0, 1}, {1, 0, 0}},
                 {{0, pi / 2, 0}, {0, 0, 1}, {0, -1, 0}},
                 {{0, 0, pi / 2}, {1, 0, 0}, {0, 1, 0}},
                 {{pi / 2, 0, pi / 2}, {0, 1, 0}, {0, 0, 1}}};
    for (const auto& turn : turns) {
        Mat4 m = identity();
        get_rotate(&turn.angles, &m);
        expectVector(through(m, turn.from), turn.to.x, turn.to.y, turn.to.z);
    }
}

Matrix rotationOf(const HPB& angles) {
    Mat4 m = identity();
    get_rotate(&angles, &m);
    return {{m.m[0], m.m[1], m.m[2], m.m[4], m.m[5], m.m[6], m.m[8], m.m[9], m.m[10]}};
}

TEST(Rotations, about_three_axes_are_the_product_of_three_turns) {
    const Matrix bank = rotationOf({0, 0, 0.3}), pitch = rotationOf({0, -1.1, 0});
    const Matrix heading = rotationOf({2.5, 0, 0}), all = rotationOf({2.5, -1.1, 0.3});
    Matrix product;
    matmul3(&bank, &pitch, &product);
    matmul3(&product, &heading, &product);
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR(all.m[i], product.m[i], 1e-6) << i;
}

TEST(Rotations, come_back_as_angles_and_near_the_vertical_as_a_bank) {
    for (const HPB& angles :
         {HPB{0, 0, 0}, HPB{3.1, -1.5, -3.1}, HPB{-0.7, 1.2, 2.5}, HPB{pi / 2, 0.3, -pi / 2}}) {
        const Matrix m = rotationOf(angles);
        float out[3];
        getYXZrotations(out, &m);
        expectVector({out[0], out[1], out[2]}, angles.heading, angles.pitch, angles.bank, 2e-6);
    }
    const Matrix up = rotationOf({0.4, pi / 2, 0.9});
    float out[3];
    getYXZrotations(out, &up);
    EXPECT_EQ(out[0], 0);
    EXPECT_NEAR(out[1], pi / 2, 1e-3);
    const Matrix again = rotationOf({out[0], out[1], out[2]});
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR(again.m[i], up.m[i], 1e-6);

    const Matrix down = rotationOf({0.4, -pi / 2, 0.9});
    getYXZrotations(out, &down);
    EXPECT_TRUE(out[0] == 0 && std::signbit(out[0]));
    EXPECT_NEAR(out[1], pi / 2, 1e-3) << "all three angles are negated there";
    EXPECT_NEAR(out[2], -std::atan2(down.m[2], down.m[5]), 1e-6);

    Matrix beyond = rotationOf({0, 0, 0});
    beyond.m[7] = 1.0001f;
    getYXZrotations(out, &beyond);
    EXPECT_NEAR(std::abs(out[1]), pi / 2, 1e-6) << "no NaN from a rounding above 1";
}

// Chains of ten items with pivots, second rotations and uneven scales all the way. The ends have
// neither pivots nor second rotations of their own: a target's come on top of what it is given.
struct Chains : testing::Test {
    std::mt19937 random{7};
    double number(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    }
    static void set(Scene& scene, ItemId item, MotionChannel first, const Vec3& values) {
        for (std::size_t i = 0; i < 3; ++i)
            scene.mutableMotion(item, static_cast<MotionChannel>(first + i)).rest = values[i];
    }
    Vec3 vector(double low, double high) {
        return {number(low, high), number(low, high), number(low, high)};
    }
    ItemId addChain(Scene& scene, const std::string& name, int depth) {
        ItemId item = ItemId::none;
        for (int i = 1; i <= depth; ++i) {
            const bool end = i == depth;
            item = scene.addItem(ItemType::object, end ? name : name + std::to_string(i), item);
            set(scene, item, positionX, vector(-2, 2));
            set(scene, item, heading, {number(-3, 3), number(-1.4, 1.4), number(-3, 3)});
            set(scene, item, scaleX, vector(0.8, 1.25));
            if (end) continue;
            scene.item(item).pivot = vector(-1, 1);
            scene.item(item).secondRotation = vector(-3, 3);
        }
        return item;
    }
};

// The rotation of an item in the world, scales left aside.
Mat3 worldRotation(const Scene& scene, ItemId item, double time) {
    Mat3 world{Vec3{1, 0, 0}, Vec3{0, 1, 0}, Vec3{0, 0, 1}};
    for (; item != ItemId::none; item = scene.item(item).parent) {
        world =
            product(rotation(motionValues(scene, item, heading, time), headingPitchBank), world);
        world = product(rotation(scene.item(item).secondRotation, headingPitchBank), world);
        // The second rotation is the outer one.
    }
    return world;
}

// In degrees.
double angleBetween(const Mat3& a, const Mat3& b) {
    double squares = 0; // of the differences: 8 sin^2(angle / 2)
    for (std::size_t r = 0; r < 3; ++r)
        for (std::size_t c = 0; c < 3; ++c)
            squares += (a[r][c] - b[r][c]) * (a[r][c] - b[r][c]);
    return 2 * std::asin(std::min(1.0, std::sqrt(squares / 8))) * 180 / pi;
}

Vec3 worldScale(const Scene& scene, ItemId item, double time) {
    Vec3 scale{1, 1, 1};
    for (; item != ItemId::none; item = scene.item(item).parent)
        for (std::size_t i = 0; i < 3; ++i)
            scale[i] *= motionValues(scene, item, scaleX, time)[i];
    return scale;
}

TEST_F(Chains, compose_like_the_stage_does) {
    Scene scene;
    const ItemId end = addChain(scene, "End", 10);
    scene.item(end).pivot = {1, 2, 3};
    scene.item(end).secondRotation = {0.5, 0.25, -1};
    Rig rig(std::move(scene));
    rig.activate();
    Mat4 m = identity();
    get_transform(fetchItemInfo(), encode(end), 0, &m);
    const Affine world = worldTransform(rig.host.scene(), end, 0);
    for (const Vec3& p : {Vec3{0, 0, 0}, Vec3{1, 2, 3}, Vec3{-4, 5, 6}}) {
        const auto there = product(world.linear, p);
        expectVector(through(m, {float(p[0]), float(p[1]), float(p[2])}),
                     there[0] + world.offset[0], there[1] + world.offset[1],
                     there[2] + world.offset[2], 1e-4);
    }
}

TEST_F(Chains, a_frame_copy_in_the_world_puts_the_target_where_the_source_is) {
    for (int run = 0; run < 300; ++run) {
        Scene scene;
        const int depth = run % 3 == 0 ? 1 : 10; // a source without a parent, too
        const ItemId source = addChain(scene, "Source", depth);
        const ItemId target = addChain(scene, "Target", run % 3 == 1 ? 1 : 10);
        Rig rig(std::move(scene));
        rig.activate();
        const Scene& now = rig.host.scene();
        const auto place = worldPosition(now, source, 0), size = worldScale(now, source, 0);
        const auto turn = worldRotation(now, source, 0);
        EXPECT_FALSE(
            rig.perform("Node-to-Node Frame Copy", {{"Source", "Source"}, {"Target", "Target"}})
                .empty());
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(worldPosition(now, target, 0)[i], place[i], 1e-4) << run;
            EXPECT_NEAR(worldScale(now, target, 0)[i], size[i], 1e-5) << run;
        }
        EXPECT_LT(angleBetween(worldRotation(now, target, 0), turn), 1e-3) << run;
    }
}

// Scales as they are in real files: small ones of armatures, deep chains, mirrored and uneven ones;
// and items that look straight up or down. Against the stage's own transforms in double precision.
TEST_F(Chains, world_values_become_local_ones_on_20000_rigs) {
    Rig rig;
    rig.activate();
    const auto rounded = [](double value) { return std::round(value * 1e6) / 1e6; }; // "%f"
    const auto pitchOf = [&](int run) {
        if (run % 4 != 0) return number(-pi / 2, pi / 2);
        return (number(0, 1) < 0.5 ? -1 : 1) * pi / 2 + number(-1e-6, 1e-6);
    };
    // `uneven`: the scale of the first item, axis by axis; the others are uniform.
    const auto addRig = [&](Scene& scene, const std::string& name, int run, bool uneven,
                            double* largest) {
        const int depth = 1 + run % 6; // up to five above the last
        const double share = depth > 1 ? 1.0 / (depth - 1) : 1;
        const double whole = std::pow(10, number(-3, 3));
        ItemId item = ItemId::none;
        for (int i = 1; i <= depth; ++i) {
            item =
                scene.addItem(ItemType::object, i == depth ? name : name + std::to_string(i), item);
            const Vec3 place = vector(-20, 20);
            for (const double coordinate : place)
                *largest = std::max(*largest, std::abs(coordinate));
            set(scene, item, positionX, place);
            set(scene, item, heading, {number(-3, 3), pitchOf(run + i), number(-3, 3)});
            Vec3 scale{1, 1, 1};
            for (double& s : scale)
                s = uneven && i == 1 ? std::pow(10, number(-1, 1)) * (number(0, 1) < 0.5 ? -1 : 1)
                    : i < depth      ? std::pow(whole, share)
                                     : 1;
            set(scene, item, scaleX, scale);
        }
        return item;
    };
    double worstPlace = 0, worstTurn = 0, worstSize = 0;
    for (int run = 0; run < 20'000; ++run) {
        Scene built;
        double largest = 1;
        const ItemId source = addRig(built, "Source", run, false, &largest);
        const ItemId target = addRig(built, "Target", run / 6, run % 2 == 0, &largest);
        rig.host.load(std::move(built));
        const Scene& scene = rig.host.scene();
        const host::ItemInfo* info = fetchItemInfo();

        DVec3 place, size;
        HPB angles;
        Mat4 m = identity();
        getWorldPos(info, encode(source), 0, &place);
        const Vec3 wantedPlace{place.x, place.y, place.z};
        getLocalPos(info, encode(target), 0, &place, &place);
        getWorldRot(info, encode(source), 0, &angles, &m);
        getLocalRot(info, encode(target), 0, &angles, &angles, &m);
        getWorldScale(info, encode(source), 0, &size);
        const Vec3 world{size.x, size.y, size.z};
        getLocalScale(info, encode(target), 0, &size, &size);

        const ItemId parent = scene.item(target).parent;
        const Vec3 above = parent == ItemId::none ? Vec3{1, 1, 1} : worldScale(scene, parent, 0);
        double scaleAbove = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            scaleAbove = std::max(scaleAbove, std::abs(above[i]));
            largest = std::max(largest, std::abs(wantedPlace[i]));
            const double exact = world[i] / above[i];
            const double got = i == 0 ? size.x : i == 1 ? size.y : size.z;
            worstSize = std::max(worstSize, std::abs(got - exact) / std::max(1.0, std::abs(exact)));
        }
        const auto turn = worldRotation(scene, source, 0);
        set(rig.host.mutableScene(), target, positionX,
            {rounded(place.x), rounded(place.y), rounded(place.z)});
        set(rig.host.mutableScene(), target, heading, {angles.heading, angles.pitch, angles.bank});
        for (ItemId up = parent; up != ItemId::none; up = scene.item(up).parent)
            for (std::size_t i = 0; i < 3; ++i)
                largest = std::max(largest, std::abs(worldPosition(scene, up, 0)[i]));
        for (std::size_t i = 0; i < 3; ++i)
            worstPlace =
                std::max(worstPlace, std::abs(worldPosition(scene, target, 0)[i] - wantedPlace[i]) /
                                         (1e-4 * largest + 1e-6 * scaleAbove));
        worstTurn = std::max(worstTurn, angleBetween(worldRotation(scene, target, 0), turn));
    }
    EXPECT_LT(worstPlace, 1) << "a part of what a copy may be off";
    EXPECT_LT(worstTurn, 0.02) << "degrees";
    EXPECT_LT(worstSize, 1e-6);
}

TEST_F(Chains, the_target_s_own_pivot_comes_on_top_and_a_flattened_chain_gives_the_world_value) {
    Scene scene;
    const ItemId parent = scene.addItem(ItemType::object, "Parent");
    const ItemId target = scene.addItem(ItemType::object, "Target", parent);
    scene.item(target).pivot = {1, 2, 3};
    Rig rig(std::move(scene));
    rig.activate();
    const host::ItemInfo* info = fetchItemInfo();
    const DVec3 world{4, 5, 6}, size{4, 2, 1};
    DVec3 out;
    getLocalPos(info, encode(target), 0, &world, &out);
    expectVector({float(out.x), float(out.y), float(out.z)}, 5, 7, 9);
    set(rig.host.mutableScene(), parent, scaleX, {2, 2, 2});
    getLocalScale(info, encode(target), 0, &size, &out);
    expectVector({float(out.x), float(out.y), float(out.z)}, 2, 1, 0.5);
    set(rig.host.mutableScene(), parent, scaleX, {1, 0, 1});
    getLocalScale(info, encode(target), 0, &size, &out);
    expectVector({float(out.x), float(out.y), float(out.z)}, 4, 2, 1);
    getLocalPos(info, encode(target), 0, &world, &out);
    expectVector({float(out.x), float(out.y), float(out.z)}, 4, 5, 6);

    HPB turn{1, 1, 1};
    Mat4 m = identity();
    m.m[12] = 9;
    getWorldPos(nullptr, encode(target), 0, &out);
    expectVector({float(out.x), float(out.y), float(out.z)}, 0, 0, 0);
    getLocalScale(nullptr, encode(target), 0, &size, &out);
    expectVector({float(out.x), float(out.y), float(out.z)}, 1, 1, 1);
    getWorldRot(nullptr, encode(target), 0, &turn, &m);
    EXPECT_EQ(turn.heading, 0);
    EXPECT_EQ(m.m[12], 9) << "untouched";
}

} // namespace
} // namespace cadencora::stage
