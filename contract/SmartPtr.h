// SmartPtr<T>: an owning interface pointer. Taking over a reference and adding one are two spellings
// (Adopt and Share), because most leaks in such systems are one AddRef too many or too few.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include "contract/Unknown.h"

template <class T>
class SmartPtr {
  public:
    constexpr SmartPtr() noexcept = default;
    constexpr SmartPtr(std::nullptr_t) noexcept {}
    SmartPtr(const SmartPtr& other) noexcept : m_pointer(other.m_pointer) {
        if (m_pointer != nullptr) {
            m_pointer->AddRef();
        }
    }
    SmartPtr(SmartPtr&& other) noexcept : m_pointer(other.Detach()) {}
    /// From a pointer to a derived interface, which begins with T's slots.
    template <class Derived, class = std::enable_if_t<std::is_convertible_v<Derived*, T*>>>
    SmartPtr(SmartPtr<Derived>&& other) noexcept : m_pointer(other.Detach()) {}
    ~SmartPtr() { ReleaseOld(m_pointer); }

    /// The old pointer is released after the new one is stored, so a release that comes back here
    /// finds the new one.
    SmartPtr& operator=(SmartPtr other) noexcept {
        std::swap(m_pointer, other.m_pointer);
        return *this;
    }

    /// Takes over the reference that `pointer` carries; null gives an empty pointer.
    static SmartPtr Adopt(T* pointer) noexcept {
        SmartPtr owner;
        owner.m_pointer = pointer;
        return owner;
    }
    /// Adds a reference of its own to `pointer`; null gives an empty pointer.
    static SmartPtr Share(T* pointer) noexcept {
        if (pointer != nullptr) {
            pointer->AddRef();
        }
        return Adopt(pointer);
    }
    /// Asks any interface pointer, null included, for T; empty when it does not answer.
    template <class Other>
    static SmartPtr QueryFrom(Other* source) noexcept {
        SmartPtr answer;
        if (source != nullptr && Failed(source->QueryInterface(IidOf<T>(), answer.ReceiveVoid()))) {
            return SmartPtr();
        }
        return answer;
    }

    T* Get() const noexcept { return m_pointer; }
    T* operator->() const noexcept { return m_pointer; }
    T& operator*() const noexcept { return *m_pointer; }
    explicit operator bool() const noexcept { return m_pointer != nullptr; }

    /// Gives the reference away: the caller releases it.
    [[nodiscard]] T* Detach() noexcept { return std::exchange(m_pointer, nullptr); }
    void Reset() noexcept { ReleaseOld(std::exchange(m_pointer, nullptr)); }

    /// Empties the pointer and offers it as an output argument.
    T** Receive() noexcept {
        Reset();
        return &m_pointer;
    }
    void** ReceiveVoid() noexcept { return reinterpret_cast<void**>(Receive()); }

  private:
    static void ReleaseOld(T* pointer) noexcept {
        if (pointer != nullptr) {
            pointer->Release();
        }
    }

    T* m_pointer = nullptr;
};
