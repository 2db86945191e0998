// Curves, points, and their arithmetic: known answers, small curves in full, libcrypto.
#include "harness/curves.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using test::Bn;
using test::Curve;
using test::Int;
using test::Operands;
using test::Point;

TEST(Ec, KnownAnswers) {
    const auto curves = test::vector_curves();
    int checked = 0;
    for (const test::Record& r : test::load_vectors("pubkey/ec.vec")) {
        if (r.name == "CURVE") continue;
        SCOPED_TRACE(r.where);
        const Curve& curve = curves.at(r.text("curve"));
        const Point p = r.has("px") ? Point(r.text("px"), r.text("py")) : Point(curve->G);
        const Point expected(r.text("rx"), r.text("ry"));
        const Point out;
        ASSERT_EQ(0U, vrq_Mtp_Fp_ECC(out, curve, p, Int(r.text("k"))));
        EXPECT_EQ(expected.text(), out.text());
        ++checked;
    }
    EXPECT_EQ(57, checked);
}

// ---- Small moduli, beside a model of the affine rules ----

struct Small {
    long x;
    long y;
    bool operator==(const Small& q) const { return x == q.x && y == q.y; }
};

struct Model {
    long p;
    long a;

    long mod(long v) const { return (v % p + p) % p; }

    long inverse(long v) const {
        for (long i = 0; i < p; ++i) {
            if (mod(v * i) == 1 % p) return i;
        }
        return 0;
    }

    Small negate(const Small& q) const { return {q.x, mod(-q.y)}; }

    Small add(const Small& q, const Small& r) const {
        if (q == Small{0, 0}) return r;
        if (r == Small{0, 0}) return q;
        if (q == negate(r)) return {0, 0};
        const long slope = q == r ? mod(mod(3 * q.x * q.x + a) * inverse(2 * q.y))
                                  : mod(mod(r.y - q.y) * inverse(r.x - q.x));
        const long x = mod(slope * slope - q.x - r.x);
        return {x, mod(slope * (q.x - x) - q.y)};
    }

    // The signed digits of 3k - k, addition by addition.
    Small multiply(const Small& q, long k) const {
        const long h = 3 * k;
        int top = 0;
        while ((h >> (top + 1)) != 0) ++top;
        Small r = q;
        for (int i = top - 1; i >= 1; --i) {
            r = add(r, r);
            const bool in_h = (h >> i & 1) != 0;
            const bool in_k = (k >> i & 1) != 0;
            if (in_h && !in_k) r = add(r, q);
            if (!in_h && in_k) r = add(r, negate(q));
        }
        return r;
    }
};

Int small_int(long v) {
    Int out;
    VRQ_Set_BIGINT_Word(out, static_cast<uint32_t>(v));
    return out;
}

Point small_point(const Small& q) { return Point(small_int(q.x), small_int(q.y)); }

Small small_of(const VRQ_ECPOINT* q) {
    return {VRQ_Get_BIGINT_Word(q->x), VRQ_Get_BIGINT_Word(q->y)};
}

std::vector<Small> points_of(const Model& model, long b) {
    std::vector<Small> points = {{0, 0}};
    for (long x = 0; x < model.p; ++x) {
        for (long y = 0; y < model.p; ++y) {
            if (model.mod(y * y - x * x * x - model.a * x - b) == 0) points.push_back({x, y});
        }
    }
    return points;
}

struct SmallCurve {
    const char* name;
    long p;
    long a;
    long b;
};

const SmallCurve kSmallCurves[] = {
    {"prime order", 97, 2, 13},
    {"composite order", 97, 2, 3},
    {"a is -3", 41, 38, 20},
    {"a is 0", 43, 0, 5},
    {"three torsion points", 31, 0, 1},
    {"(0, 0) on the curve", 43, 7, 0},
    {"with a node", 37, 34, 2},
    {"with a cusp", 37, 0, 0},
    {"field of five", 5, 1, 1},
    {"field of three", 3, 1, 1},
};

TEST(Ec, SumsOfSmallCurves) {
    for (const SmallCurve& c : kSmallCurves) {
        SCOPED_TRACE(c.name);
        const Model model = {c.p, c.a};
        const Curve curve(small_int(c.p), small_int(c.a), small_int(c.b));
        const std::vector<Small> points = points_of(model, c.b);
        const Point out;
        for (const Small& q : points) {
            const Point left = small_point(q);
            for (const Small& r : points) {
                ASSERT_EQ(0U, vrq_Add_Fp_ECC(out, curve, left, small_point(r)));
                ASSERT_TRUE(model.add(q, r) == small_of(out))
                    << q.x << "," << q.y << " + " << r.x << "," << r.y << " = " << out.text();
            }
        }
    }
}

void expect_multiples(const SmallCurve& c, const std::vector<Small>& points, long up_to) {
    SCOPED_TRACE(c.name);
    const Model model = {c.p, c.a};
    const Curve curve(small_int(c.p), small_int(c.a), small_int(c.b));
    const Point out;
    for (const Small& q : points) {
        const Point p = small_point(q);
        for (long k = 1; k <= up_to; ++k) {
            ASSERT_EQ(0U, vrq_Mtp_Fp_ECC(out, curve, p, small_int(k)));
            ASSERT_TRUE(model.multiply(q, k) == small_of(out))
                << k << " * " << q.x << "," << q.y << " = " << out.text();
        }
    }
}

TEST(Ec, MultiplesOnSmallCurves) {
    for (const SmallCurve& c : kSmallCurves) {
        const std::vector<Small> points = points_of({c.p, c.a}, c.b);
        expect_multiples(c, points, static_cast<long>(points.size()) + 5);
    }
}

// Every point of the plane lies on a curve of its own, singular ones included.
TEST(Ec, MultiplesOfPointsOffTheCurve) {
    std::vector<Small> plane;
    for (long x = 0; x < 13; ++x) {
        for (long y = 0; y < 13; ++y) plane.push_back({x, y});
    }
    for (const long a : {0, 3, 10}) expect_multiples({"plane", 13, a, 5}, plane, 30);
}

TEST(Ec, MultiplesModuloNumbersThatAreNotPrime) {
    for (const long p : {1, 2, 4, 16, 26}) {
        const std::vector<Small> points = {{0, 1 % p}, {1 % p, 1 % p}, {5 % p, 3 % p}};
        expect_multiples({"even", p, 1 % p, 1}, points, 40);
    }
    // nothing but an answer is asked for here
    const Point p("5", "7");
    for (const long modulus : {0, 9, 15, 49, 255, 1001}) {
        const Curve curve(small_int(modulus), Int("3"), Int("1"));
        for (long k = 1; k < 40; ++k) {
            const Point out;
            EXPECT_EQ(0U, vrq_Mtp_Fp_ECC(out, curve, p, small_int(k)));
            EXPECT_EQ(0U, vrq_Add_Fp_ECC(out, curve, out, p));
        }
    }
}

// ---- libcrypto ----

const char* const kGroups[] = {"prime256v1",      "secp384r1",      "secp521r1",
                               "secp224r1",       "secp256k1",      "brainpoolP256r1",
                               "brainpoolP320r1", "brainpoolP512r1"};

std::vector<Int> scalars(const VRQ_BIGINT* n, unsigned seed) {
    std::vector<Int> out;
    for (const char* small : {"1", "2", "F", "10", "11", "1F", "20", "21", "3FF"})
        out.emplace_back(small);
    for (const char* offset : {"0", "1", "2", "5"}) {
        VRQ_Sub_BIGINT(out.emplace_back(), n, Int(offset), nullptr);
        VRQ_Add_BIGINT(out.emplace_back(), n, Int(offset), nullptr);
    }
    Operands operands(seed);
    for (int i = 0; i < 30; ++i) out.push_back(operands.value(static_cast<std::size_t>(n->used)));
    out.push_back(operands.value(static_cast<std::size_t>(2 * n->used)));
    return out;
}

TEST(Ec, MultiplesAndSumsAgreeWithLibcrypto) {
    for (const char* name : kGroups) {
        const test::Group group = test::group_named(name);
        ASSERT_NE(nullptr, group) << name;
        const Curve curve(group.get());
        const test::GroupPoint theirs(
            EC_POINT_dup(EC_GROUP_get0_generator(group.get()), group.get()));
        const test::GroupPoint last(EC_POINT_new(group.get()));
        const Point ours(curve->G);
        const Point product;
        for (const Int& k : scalars(curve->order, 7)) {
            if (k->used == 0) continue;
            SCOPED_TRACE(std::string(name) + " " + k.hex());
            ASSERT_EQ(1,
                      EC_POINT_mul(group.get(), last.get(), nullptr, theirs.get(), Bn(k), nullptr));
            ASSERT_EQ(0U, vrq_Mtp_Fp_ECC(product, curve, ours, k));
            ASSERT_EQ(test::text_of_point(group.get(), last.get()), product.text());

            // the sum is the base of the next product
            ASSERT_EQ(1, EC_POINT_add(group.get(), last.get(), last.get(), theirs.get(), nullptr));
            ASSERT_EQ(0U, vrq_Add_Fp_ECC(product, curve, product, ours));
            ASSERT_EQ(test::text_of_point(group.get(), last.get()), product.text());
            if (EC_POINT_is_at_infinity(group.get(), last.get()) == 1) continue;
            ASSERT_EQ(1, EC_POINT_copy(theirs.get(), last.get()));
            ASSERT_EQ(0U, vrq_Copy_ECPOINT(ours, product));
        }
    }
}

// 2^607 - 1 is longer than the fields of fixed size.
TEST(Ec, LongFieldsAgreeWithLibcrypto) {
    Int p("1");
    vrq_Left_Shift_BIGINT(p, p, 607);
    VRQ_Sub_BIGINT_Word(p, 1);
    const Bn modulus(p);
    const Bn three(Int("3"));
    const Bn five(Int("5"));
    const Bn x(Int("10")); // x^3 + 3x + b = 1 for b = 1 - 16^3 - 48
    const Bn b(Int("102F"));
    BN_sub(b, modulus, b);
    const test::Group group(EC_GROUP_new_curve_GFp(modulus, three, b, nullptr));
    const test::GroupPoint theirs(EC_POINT_new(group.get()));
    const Bn one(Int("1"));
    ASSERT_EQ(1, EC_POINT_set_affine_coordinates(group.get(), theirs.get(), x, one, nullptr));
    const Curve curve(p, Int("3"), Int(static_cast<BIGNUM*>(b)));
    const Point ours("10", "1");
    const Point out;
    const test::GroupPoint product(EC_POINT_new(group.get()));
    for (const char* k : {"1", "2", "3", "FEDCBA9876543210FEDCBA9876543210"}) {
        ASSERT_EQ(1, EC_POINT_mul(group.get(), product.get(), nullptr, theirs.get(), Bn(Int(k)),
                                  nullptr));
        ASSERT_EQ(0U, vrq_Mtp_Fp_ECC(out, curve, ours, Int(k)));
        EXPECT_EQ(test::text_of_point(group.get(), product.get()), out.text());
    }
}

// ---- Edges and statuses ----

struct Fixture {
    Curve curve{Int("61"), Int("2"), Int("3")}; // modulo 97
    Point p{"3", "6"};
    Point zero{"0", "0"};
    Point absent;
};

TEST(Ec, InfinityAndAbsentPoints) {
    const Fixture f;
    const Point minus;
    ASSERT_EQ(0U, vrq_Negate_ECC(minus, f.curve, f.p));
    EXPECT_EQ("3,5B", minus.text());
    struct Row {
        const VRQ_ECPOINT* left;
        const VRQ_ECPOINT* right;
        const char* sum;
    };
    const Row rows[] = {{f.p, minus, "0,0"},      {f.zero, f.p, "3,6"},   {f.p, f.zero, "3,6"},
                        {f.absent, f.p, "3,6"},   {f.p, f.absent, "3,6"}, {f.zero, f.zero, "0,0"},
                        {f.zero, f.absent, "0,0"}};
    for (const Row& row : rows) {
        const Point out;
        EXPECT_EQ(0U, vrq_Add_Fp_ECC(out, f.curve, row.left, row.right));
        EXPECT_EQ(row.sum, out.text());
    }
    const Point out;
    EXPECT_EQ(0U, vrq_Mtp_Fp_ECC(out, f.curve, f.zero, Int("5")));
    EXPECT_EQ("0,0", out.text());
    EXPECT_EQ(0U, vrq_Negate_ECC(out, f.curve, f.zero));
    EXPECT_EQ("0,0", out.text());
    EXPECT_EQ(1U, vrq_Is_ECPOINT_Zero(f.zero));
    EXPECT_EQ(0U, vrq_Is_ECPOINT_Zero(f.p));
    EXPECT_EQ(0U, vrq_Is_ECPOINT_Zero(f.absent));
}

TEST(Ec, MultiplesByZeroAndOneAndInPlace) {
    const Fixture f;
    const Point out("7", "8");
    EXPECT_EQ(0U, vrq_Mtp_Fp_ECC(out, f.curve, f.p, Int()));
    EXPECT_EQ(0U, vrq_Mtp_Fp_ECC(out, f.curve, f.p, VRQ_Value_Zero_BIGINT()));
    EXPECT_EQ("7,8", out.text());
    EXPECT_EQ(0U, vrq_Mtp_Fp_ECC(out, f.curve, f.p, Int("1")));
    EXPECT_EQ("3,6", out.text());
    EXPECT_EQ(0U, vrq_Mtp_Fp_ECC(out, f.curve, Point("64", "67"), Int("1")));
    EXPECT_EQ("64,67", out.text());

    // 3 * P, once with the coordinates not reduced
    EXPECT_EQ(0U, vrq_Mtp_Fp_ECC(out, f.curve, Point("64", "67"), Int("3")));
    const Point in_place(f.p);
    EXPECT_EQ(0U, vrq_Mtp_Fp_ECC(in_place, f.curve, in_place, Int("3")));
    EXPECT_EQ("50,57", in_place.text());
    EXPECT_EQ("50,57", out.text());
    EXPECT_EQ(0U, vrq_Add_Fp_ECC(in_place, f.curve, in_place, in_place));
    EXPECT_EQ(0U, vrq_Mtp_Fp_ECC(out, f.curve, f.p, Int("6")));
    EXPECT_EQ(out.text(), in_place.text());
}

TEST(Ec, Statuses) {
    const Fixture f;
    const Point out("7", "8");
    const Curve no_prime;
    const Curve no_a;
    VRQ_Set_ECURVE_Params(no_a, 0, nullptr, nullptr, nullptr, Int("61"), nullptr, nullptr);
    const Int k("5");
    VRQ_ECPOINT* const null = nullptr;
    const uint32_t failures[] = {
        vrq_Add_Fp_ECC(null, f.curve, f.p, f.p),
        vrq_Add_Fp_ECC(out, nullptr, f.p, f.p),
        vrq_Add_Fp_ECC(out, f.curve, null, f.p),
        vrq_Add_Fp_ECC(out, f.curve, f.p, null),
        vrq_Add_Fp_ECC(out, no_prime, f.p, f.p),
        vrq_Add_Fp_ECC(out, f.curve, f.absent, f.absent),
        vrq_Add_Fp_ECC(out, no_a, f.p, f.p),
        vrq_Mtp_Fp_ECC(null, f.curve, f.p, k),
        vrq_Mtp_Fp_ECC(out, nullptr, f.p, k),
        vrq_Mtp_Fp_ECC(out, f.curve, null, k),
        vrq_Mtp_Fp_ECC(out, f.curve, f.p, nullptr),
        vrq_Mtp_Fp_ECC(out, no_prime, f.p, k),
        vrq_Mtp_Fp_ECC(out, no_a, f.p, k),
        vrq_Mtp_Fp_ECC(out, f.curve, f.absent, k),
        vrq_Negate_ECC(null, f.curve, f.p),
        vrq_Negate_ECC(out, nullptr, f.p),
        vrq_Negate_ECC(out, f.curve, null),
        vrq_Negate_ECC(out, no_prime, f.p),
        vrq_Negate_ECC(out, f.curve, f.absent),
        vrq_Copy_ECPOINT(null, f.p),
        vrq_Copy_ECPOINT(out, null),
        VRQ_Zero_Value_ECPOINT(null),
        vrq_Copy_ECC_Key(nullptr, nullptr),
        VRQ_Set_ECURVE_Params(nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr)};
    for (std::size_t i = 0; i < std::size(failures); ++i) EXPECT_EQ(1U, failures[i]) << i;
    EXPECT_EQ("7,8", out.text());
}

TEST(Ec, Comparison) {
    const Fixture f;
    EXPECT_EQ(0, vrq_Cmp_ECPOINT(f.p, Point("3", "6")));
    EXPECT_EQ(-1, vrq_Cmp_ECPOINT(f.p, Point("3", "7")));
    EXPECT_EQ(1, vrq_Cmp_ECPOINT(Point("4", "1"), f.p));
    EXPECT_EQ(1, vrq_Cmp_ECPOINT(f.p, nullptr));
    EXPECT_EQ(1, vrq_Cmp_ECPOINT(f.absent, f.absent));
}

TEST(Ec, CurveParameters) {
    const Curve curve;
    const Point g("3", "6");
    ASSERT_EQ(0U, VRQ_Set_ECURVE_Params(curve, 7, "0123456789012345678901234567890123456789",
                                        Int("2"), Int("3"), Int("61"), g, Int("5")));
    EXPECT_STREQ("0123456789012345678901234567890", curve->name);
    EXPECT_NE(static_cast<VRQ_ECPOINT*>(g), curve->G);

    // what is null stays
    ASSERT_EQ(
        0U, VRQ_Set_ECURVE_Params(curve, 8, nullptr, nullptr, Int("4"), nullptr, nullptr, nullptr));
    EXPECT_EQ(8U, curve->curve_id);
    EXPECT_EQ(31U, std::strlen(curve->name));
    EXPECT_EQ(2U, VRQ_Get_BIGINT_Word(curve->a));
    EXPECT_EQ(4U, VRQ_Get_BIGINT_Word(curve->b));
    EXPECT_EQ("3,6", Point::text_of_point(curve->G));

    ASSERT_EQ(0U,
              VRQ_Set_ECURVE_Params(curve, 8, "x", nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_STREQ("x", curve->name);
    VRQ_Clean_ECURVE(curve);
    const VRQ_ECURVE empty = {};
    EXPECT_EQ(0, std::memcmp(&empty, static_cast<VRQ_ECURVE*>(curve), sizeof empty));
}

TEST(Ec, Keys) {
    VRQ_ECC_KEY* const from = VRQ_New_ECC_Key();
    VRQ_ECC_KEY* const to = VRQ_New_ECC_Key();
    from->curve = VRQ_New_ECURVE();
    VRQ_Set_ECURVE_Params(from->curve, 3, "name", Int("2"), Int("3"), Int("61"), Point("3", "6"),
                          Int("5"));
    from->d = VRQ_HEX_To_BIGINT("4");
    to->Q = VRQ_New_ECPOINT();
    ASSERT_EQ(0U, vrq_Copy_ECC_Key(to, from));
    EXPECT_EQ(0U, vrq_Copy_ECC_Key(to, to));
    VRQ_Clean_ECC_Key(from);
    EXPECT_EQ(nullptr, from->d);
    EXPECT_EQ(nullptr, to->Q);
    EXPECT_EQ(3U, to->curve->curve_id);
    EXPECT_STREQ("name", to->curve->name);
    EXPECT_EQ("3,6", Point::text_of_point(to->curve->G));
    EXPECT_EQ(4U, VRQ_Get_BIGINT_Word(to->d));
    VRQ_Free_ECC_Key(from);
    VRQ_Free_ECC_Key(to);
    for (const auto release : {VRQ_Free_ECC_Key, VRQ_Clean_ECC_Key}) release(nullptr);
}

} // namespace
