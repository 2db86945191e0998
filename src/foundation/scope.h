// Scope guards: what they hold is wiped or released on every path out of a function.
#pragma once

#include "foundation/alloc.h"
#include "foundation/status.h"

#include <memory>
#include <span>
#include <utility>

namespace vrq {

// A stack buffer for secrets. Its content is undefined until written and wiped at the end of the
// scope.
template <std::size_t N>
class SecretBytes {
  public:
    SecretBytes() = default;
    ~SecretBytes() { wipe(bytes_, N); }
    SecretBytes(const SecretBytes&) = delete;
    SecretBytes& operator=(const SecretBytes&) = delete;

    u8* data() { return bytes_; }
    const u8* data() const { return bytes_; }
    u8& operator[](std::size_t i) { return bytes_[i]; }
    u8 operator[](std::size_t i) const { return bytes_[i]; }
    static constexpr std::size_t size() { return N; }

  private:
    alignas(16) u8 bytes_[N];
};

// A heap block for secrets, wiped and released at the end of the scope. Test it before use.
class SecretHeap {
  public:
    explicit SecretHeap(std::size_t size, const char* file = __builtin_FILE(),
                        int line = __builtin_LINE())
        : data_(static_cast<u8*>(allocate(size, file, line))), size_(size) {}
    ~SecretHeap() { wipe_and_release(data_, size_); }
    SecretHeap(const SecretHeap&) = delete;
    SecretHeap& operator=(const SecretHeap&) = delete;

    explicit operator bool() const { return data_ != nullptr; }
    u8* data() { return data_; }
    std::size_t size() const { return size_; }

    // Hands the block over to the caller.
    u8* take() { return std::exchange(data_, nullptr); }

  private:
    u8* data_;
    std::size_t size_;
};

// Wipes an object of plain data at the end of the scope.
template <class T>
class WipeOnExit {
  public:
    explicit WipeOnExit(T& object) : object_(object) {}
    ~WipeOnExit() { wipe_object(object_); }
    WipeOnExit(const WipeOnExit&) = delete;
    WipeOnExit& operator=(const WipeOnExit&) = delete;

  private:
    T& object_;
};

// Runs a function at the end of the scope; for what none of the other guards covers.
template <class F>
class ScopeExit {
  public:
    explicit ScopeExit(F f) : f_(std::move(f)) {}
    ~ScopeExit() { f_(); }
    ScopeExit(const ScopeExit&) = delete;
    ScopeExit& operator=(const ScopeExit&) = delete;

  private:
    F f_;
};

template <auto Free>
struct UnitDeleter {
    template <class Unit>
    void operator()(Unit* unit) const {
        Free(unit);
    }
};

// A unit owned by a scope, released by its exported Free.
template <class Unit, auto Free>
using Owned = std::unique_ptr<Unit, UnitDeleter<Free>>;

} // namespace vrq
