// Base of the reference host's own components: the object base, counts of live and made objects per module,
// and the strictness that tells a misuse of the contract aloud.
#pragma once

#include <atomic>
#include <cstdio>
#include <exception>
#include <utility>

#include "contract/Framework.h"
#include "contract/Module.h"
#include "contract/SmartPtr.h"

/// The number of this module's components that are alive. Every framework module exports it; tests
/// compare it before and after.
extern "C" MODULE_EXPORT int LiveObjects() noexcept;
/// The number of components that this module has ever made: it tells who makes again what could be kept.
extern "C" MODULE_EXPORT int MadeObjects() noexcept;

inline std::atomic<int> gLiveObjects{0};
inline std::atomic<int> gMadeObjects{0};

/// Not one atomic operation, of which a parameter list would need dozens: who counts works in one thread,
/// and elsewhere the count may be off, but nothing breaks.
inline void CountObjects(std::atomic<int>& count, int change) noexcept {
    count.store(count.load(std::memory_order_relaxed) + change, std::memory_order_relaxed);
}

/// As Component, with the counts kept where an object's memory comes and goes: a constructor and a destructor that do
/// something would each set all interface tables once more.
template <class T, class... Interfaces>
class FrameworkComponent : public Component<T, Interfaces...> {
  public:
    static void* operator new(std::size_t size, const std::nothrow_t& nothrow) noexcept {
        void* const memory = ::operator new(size, nothrow);
        if (memory != nullptr) {
            CountObjects(gLiveObjects, +1);
            CountObjects(gMadeObjects, +1);
        }
        return memory;
    }
    static void operator delete(void* memory) noexcept {
        CountObjects(gLiveObjects, -1);
        ::operator delete(memory);
    }

    /// Without an atomic decrement where nobody else holds a reference: most of these objects never had a second one.
    std::int32_t Release() noexcept final { return this->IsShared() ? this->Decrement() : this->Destroy(); }

  protected:
    FrameworkComponent() noexcept = default;
    ~FrameworkComponent() = default;
};

/// A new object of one of the host's own classes as one of its interfaces; empty without memory.
template <class Interface, class T, class... Arguments>
SmartPtr<Interface> MakeObject(Arguments&&... arguments) noexcept {
    if constexpr (sizeof...(Arguments) == 0) {
        return SmartPtr<Interface>::Adopt(new (std::nothrow) T);  // With parentheses, all of it would be cleared first.
    } else {
        return SmartPtr<Interface>::Adopt(new (std::nothrow) T(std::forward<Arguments>(arguments)...));
    }
}

/// Reports a call that breaks the contract, on standard error, and gives the code it fails with.
inline Result Misuse(const char* operation, const char* what) noexcept {
    std::fprintf(stderr, "%s: misused: %s\n", operation, what);
    return E_INVALIDARG;
}

/// Runs the body of an operation; nothing that it throws leaves the interface. The body returns a Result.
template <class Body>
Result Guarded(const char* operation, const Body& body) noexcept {
    try {
        return body();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", operation, error.what());
    } catch (...) {
        std::fprintf(stderr, "%s: unknown failure\n", operation);
    }
    return E_FAIL;
}

/// Replaces a text by a copy of a string's; false, with the text kept, when that fails.
inline bool CopyText(IString& from, CREFString& to) noexcept {
    tagREFString text{0, nullptr};
    return Succeeded(from.GetText(&text.text, &text.length)) && to.Assign(text.text, text.length);
}
