// Curves and points in tests, and libcrypto's beside them.
#pragma once

#include "harness/bigints.h"
#include "harness/vectors.h"
#include "talvern/ec.h"

#include <openssl/ec.h>
#include <openssl/objects.h>

#include <map>
#include <memory>
#include <string>

namespace test {

// An owned point.
class Point {
  public:
    Point() : record_(VRQ_New_ECPOINT()) {}
    Point(const std::string& x, const std::string& y) : Point() { set(Int(x), Int(y)); }
    Point(const VRQ_BIGINT* x, const VRQ_BIGINT* y) : Point() { set(x, y); }
    explicit Point(const VRQ_ECPOINT* other) : Point() { vrq_Copy_ECPOINT(record_, other); }
    Point(const Point& other) : Point(other.record_) {}
    Point& operator=(const Point&) = delete;
    ~Point() { VRQ_Free_ECPOINT(record_); }

    operator VRQ_ECPOINT*() const { return record_; } // NOLINT(google-explicit-constructor)
    VRQ_ECPOINT* operator->() const { return record_; }
    std::string text() const { return text_of_point(record_); }

    static std::string text_of_point(const VRQ_ECPOINT* p) {
        if (p->x == nullptr || p->y == nullptr) return "absent";
        return text_of(VRQ_BIGINT_To_HEX, p->x) + "," + text_of(VRQ_BIGINT_To_HEX, p->y);
    }

  private:
    void set(const VRQ_BIGINT* x, const VRQ_BIGINT* y) {
        record_->x = VRQ_Dup_BIGINT(x);
        record_->y = VRQ_Dup_BIGINT(y);
    }

    VRQ_ECPOINT* record_;
};

// An owned curve.
class Curve {
  public:
    Curve() : record_(VRQ_New_ECURVE()) {}
    Curve(const Int& p, const Int& a, const Int& b) : Curve() {
        VRQ_Set_ECURVE_Params(record_, 0, nullptr, a, b, p, nullptr, nullptr);
    }
    explicit Curve(const Record& r) : Curve() {
        const Point g(r.text("gx"), r.text("gy"));
        VRQ_Set_ECURVE_Params(record_, 1, r.text("name").c_str(), Int(r.text("a")),
                              Int(r.text("b")), Int(r.text("p")), g, Int(r.text("n")));
    }
    explicit Curve(const EC_GROUP* group) : Curve() {
        const Bn p;
        const Bn a;
        const Bn b;
        const Bn x;
        const Bn y;
        EC_GROUP_get_curve(group, p, a, b, nullptr);
        EC_POINT_get_affine_coordinates(group, EC_GROUP_get0_generator(group), x, y, nullptr);
        const Point g(Int::hex_of(x), Int::hex_of(y));
        VRQ_Set_ECURVE_Params(record_, 1, "group", Int(a), Int(b), Int(p), g,
                              Int(EC_GROUP_get0_order(group)));
    }
    Curve(Curve&& other) noexcept : record_(other.record_) { other.record_ = nullptr; }
    Curve(const Curve&) = delete;
    Curve& operator=(const Curve&) = delete;
    ~Curve() { VRQ_Free_ECURVE(record_); }

    operator VRQ_ECURVE*() const { return record_; } // NOLINT(google-explicit-constructor)
    VRQ_ECURVE* operator->() const { return record_; }

  private:
    VRQ_ECURVE* record_;
};

// The curves of the vectors by name.
inline std::map<std::string, Curve> vector_curves() {
    std::map<std::string, Curve> curves;
    for (const Record& r : load_vectors("pubkey/ec.vec")) {
        if (r.name == "CURVE") curves.emplace(r.text("name"), Curve(r));
    }
    return curves;
}

struct EcFree {
    void operator()(EC_GROUP* group) const { EC_GROUP_free(group); }
    void operator()(EC_POINT* point) const { EC_POINT_free(point); }
};
using Group = std::unique_ptr<EC_GROUP, EcFree>;
using GroupPoint = std::unique_ptr<EC_POINT, EcFree>;

inline Group group_named(const char* name) {
    return Group(EC_GROUP_new_by_curve_name(OBJ_sn2nid(name)));
}

// In the form of Point::text.
inline std::string text_of_point(const EC_GROUP* group, const EC_POINT* point) {
    if (EC_POINT_is_at_infinity(group, point) == 1) return "0,0";
    const Bn x;
    const Bn y;
    EC_POINT_get_affine_coordinates(group, point, x, y, nullptr);
    return x.hex() + "," + y.hex();
}

} // namespace test
