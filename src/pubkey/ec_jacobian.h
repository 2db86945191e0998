// Points (X/Z^2, Y/Z^3) of y^2 = x^3 + a x + b; Z = 0 is infinity. The formulas do not use b, so they
// serve any point: it lies on the curve with the b of its own.
//
// Secret points and scalars are safe here, but for one case: a sum of equal points branches to the
// doubling. Sums with infinity and of opposite points do not branch.
#pragma once

#include "pubkey/ec_field.h"

#include <cstddef>

namespace vrq {

template <std::size_t N>
struct Jacobian {
    Element<N> x;
    Element<N> y;
    Element<N> z;
};

// A summand that serves many sums.
template <std::size_t N>
struct TablePoint {
    Jacobian<N> point;
    Element<N> zz;
    Element<N> zzz;
};

template <std::size_t N>
class Group {
  public:
    using E = Element<N>;
    using Point = Jacobian<N>;
    using Entry = TablePoint<N>;

    Group(const Field<N>& field, const E& a) : field_(field), a_(a) {}

    const E& a() const { return a_; }

    // P = 2^count * P, count at least 1, with a * Z^4 carried from doubling to doubling (H. Cohen,
    // A. Miyaji, T. Ono, Efficient elliptic curve exponentiation using mixed coordinates, 1998).
    void double_times(Point& p, unsigned count) const {
        const Field<N>& f = field_;
        E w;
        E s;
        E u;
        E m;
        E y2;
        E t;
        f.sqr(w, p.z);
        f.sqr(w, w);
        f.mul(w, w, a_);
        while (count-- != 0) {
            f.twice(y2, p.y);
            f.mul(p.z, p.z, y2);
            f.sqr(t, y2); // 4 Y^2
            f.mul(s, p.x, t);
            f.sqr(t, t); // 16 Y^4
            f.half(u, t);
            f.sqr(m, p.x);
            f.add(y2, m, m);
            f.add(m, m, y2);
            f.add(m, m, w);
            f.sqr(p.x, m);
            f.sub(p.x, p.x, s);
            f.sub(p.x, p.x, s);
            f.sub(s, s, p.x);
            f.mul(p.y, m, s);
            f.sub(p.y, p.y, u);
            if (count != 0) f.mul(w, w, t);
        }
    }

    // p += q, or p -= q where the mask is all ones.
    void add(Point& p, const Entry& q, u64 negative) const {
        const Field<N>& f = field_;
        E qy;
        E z1z1;
        E u1;
        E s1;
        E h;
        E r;
        E t;
        f.sub(t, E{}, q.point.y);
        qy = q.point.y;
        f.move_if(qy, t, negative);

        f.sqr(z1z1, p.z);
        f.mul(t, z1z1, p.z);
        f.mul(u1, p.x, q.zz);
        f.mul(h, q.point.x, z1z1);
        f.mul(s1, p.y, q.zzz);
        f.mul(r, qy, t);
        f.sub(h, h, u1);
        f.sub(r, r, s1);
        const u64 p_infinite = f.zero_mask(p.z);
        const u64 q_infinite = f.zero_mask(q.point.z);
        const u64 equal = f.zero_mask(h) & f.zero_mask(r) & ~p_infinite & ~q_infinite;
        if (equal != 0) [[unlikely]] {
            double_times(p, 1);
            return;
        }

        Point sum;
        f.mul(sum.z, p.z, q.point.z);
        f.mul(sum.z, sum.z, h);
        f.sqr(t, h);
        f.mul(u1, u1, t); // V
        f.mul(h, h, t);   // H^3
        f.mul(s1, s1, h);
        f.sqr(sum.x, r);
        f.sub(sum.x, sum.x, h);
        f.sub(sum.x, sum.x, u1);
        f.sub(sum.x, sum.x, u1);
        f.sub(u1, u1, sum.x);
        f.mul(sum.y, r, u1);
        f.sub(sum.y, sum.y, s1);

        move_if(sum, {q.point.x, qy, q.point.z}, p_infinite);
        move_if(sum, p, q_infinite);
        p = sum;
    }

    void make_entry(Entry& r, const Point& p) const {
        r.point = p;
        field_.sqr(r.zz, p.z);
        field_.mul(r.zzz, r.zz, p.z);
    }

  private:
    void move_if(Point& r, const Point& p, u64 mask) const {
        field_.move_if(r.x, p.x, mask);
        field_.move_if(r.y, p.y, mask);
        field_.move_if(r.z, p.z, mask);
    }

    const Field<N>& field_;
    const E a_;
};

} // namespace vrq
