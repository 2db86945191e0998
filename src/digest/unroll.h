// Help for code whose speed is the length of a chain of additions and rotations.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

namespace vrq {

// Calls step(I) for I = 0 to N - 1 with I known at compile time, so that arrays indexed by it stay in
// registers.
template <std::size_t N, class Step>
[[gnu::always_inline]] inline void unrolled(Step step) {
    [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline)) {
        (step(std::integral_constant<std::size_t, I>{}), ...);
    }
    (std::make_index_sequence<N>{});
}

// Holds a sum together: the compiler neither regroups it across this point, which would lengthen the
// chain, nor moves it to a vector register.
template <class Word>
[[gnu::always_inline]] inline void settle(Word& x) {
    __asm__("" : "+r"(x));
}

// The working variables of a hash, from its state and back into it, word by word.
template <class Word, std::size_t N>
[[gnu::always_inline]] inline void take_state(Word (&v)[N], const Word* state) {
    unrolled<N>([&](auto i) {
        Word word = state[i];
        settle(word);
        v[i] = word;
    });
}

template <class Word, std::size_t N>
[[gnu::always_inline]] inline void add_to_state(Word* state, const Word (&v)[N]) {
    unrolled<N>([&](auto i) {
        Word word = state[i] + v[i];
        settle(word);
        state[i] = word;
    });
}

} // namespace vrq
