// The object base: reference count, creation, QueryInterface from a list of interfaces.
#pragma once

#include <atomic>
#include <cstdint>
#include <new>
#include <type_traits>

#include "contract/Capabilities.h"
#include "contract/Unknown.h"

/// A class's creation function. `outer` is reserved and ignored (there is no aggregation). On S_OK
/// `*result` holds the interface `*iid` with the object's only reference; otherwise the object is gone.
using ComponentCreator = Result (*)(void* outer, IID* iid, void** result);

/// First base of every component class T: the count and the lifetime hooks, seven virtual operations
/// in this order. T must be final, since the last Release deletes it as a T, and have Component's Answer.
template <class T>
class CObject : public IUnknown {
  public:
    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

    Result QueryInterface(const IID&, void**) noexcept override { return E_NOINTERFACE; }
    std::int32_t AddRef() noexcept override { return Increment(); }
    std::int32_t Release() noexcept override { return Decrement(); }
    /// Runs once after construction; a non-zero code ends the creation.
    virtual Result FinalConstruct() noexcept { return S_OK; }
    /// Runs once before destruction, while the object is still whole.
    virtual void FinalRelease() noexcept {}
    /// Changes nothing; a lock does not keep the object alive.
    virtual void Lock() noexcept {}
    virtual void Unlock() noexcept {}

    /// Creates an object of the class; see ComponentCreator. E_FAIL when there is no memory,
    /// E_NOINTERFACE with `*result` null when the class does not answer `*iid`.
    static Result _CreateInstance(void* /*outer*/, IID* iid, void** result) noexcept {
        T* object = new (std::nothrow) T;
        if (object == nullptr) {
            return E_FAIL;
        }
        Result code = object->FinalConstruct();
        if (code == S_OK) {
            // Answers without counting: the reference that QueryInterface adds and the creation reference,
            // dropped after it, are one, and adding and dropping would cost as much as all the rest.
            code = object->Answer(*iid, result);
            if (code == S_OK) {
                return S_OK;
            }
        }
        // A positive code ends here too, although the caller has a pointer by then: only plain S_OK
        // creates. No shipped class gives one.
        object->FinalRelease();
        delete object;
        return code;
    }

  protected:
    CObject() noexcept = default;
    ~CObject() = default;

    // Relaxed: who adds a reference already holds one, so nothing has to be ordered before it.
    std::int32_t Increment() noexcept { return m_count.fetch_add(1, std::memory_order_relaxed) + 1; }

    // Acquire and release: all that other threads did with the object happens before its destruction.
    std::int32_t Decrement() noexcept {
        static_assert(std::is_final_v<T>, "mark the component class final: Release deletes it as that type");
        const std::int32_t left = m_count.fetch_sub(1, std::memory_order_acq_rel) - 1;
        return left != 0 ? left : Destroy();
    }

    // Whether a reference may be held elsewhere. If not, no other thread can add one meanwhile.
    bool IsShared() const noexcept { return m_count.load(std::memory_order_acquire) != 1; }

    // Apart, so that a Release that destroys nothing stays a handful of instructions.
    [[gnu::noinline]] std::int32_t Destroy() noexcept {
        // A destructor that briefly adds and releases a reference must not destroy a second time.
        m_count.store(1, std::memory_order_relaxed);
        T* const self = static_cast<T*>(this);
        self->FinalRelease();
        delete self;
        return 0;
    }

  private:
    std::atomic<std::int32_t> m_count{1};
    static_assert(sizeof(std::atomic<std::int32_t>) == 4 && std::atomic<std::int32_t>::is_always_lock_free,
                  "the count is one plain 32-bit field after the interface table");
};

/// Implements IObjectInfo from the class's registered name, which each class defines in its source.
template <class T>
class IObjectInfoImpl : public IObjectInfo {
  public:
    static const tagREFString m_ObjectName;

    Result GetName(int /*reserved*/, tagREFString* name) noexcept override {
        *name = m_ObjectName;
        return S_OK;
    }

  protected:
    ~IObjectInfoImpl() = default;
};

/// All a class says about QueryInterface: the interfaces, in the order in which they are compared.
/// IUnknown comes before them and is not listed.
template <class... Interfaces>
struct InterfaceMap {
    /// The sub-object of `self` that `iid` names, or null. Adds no reference.
    template <class T>
    static void* Find(T* self, const IID& iid) noexcept {
        void* found = nullptr;
        static_cast<void>(((iid == IidOf<Interfaces>() && (found = static_cast<Interfaces*>(self))) || ...));
        return found;
    }
};

/// What stands between CObject<T> and a class: its bases in order, and IUnknown implemented once for
/// all of them. T names what it answers as `T::Answers`, an InterfaceMap.
template <class T, class... Interfaces>
class Component : public CObject<T>, public IObjectInfoImpl<T>, public Interfaces... {
  public:
    /// What QueryInterface answers, without adding the reference; creation asks here too, so that the two
    /// cannot differ.
    Result Answer(const IID& iid, void** out) noexcept {
        *out = iid == IID_IUnknown ? static_cast<CObject<T>*>(this) : T::Answers::Find(static_cast<T*>(this), iid);
        return *out != nullptr ? S_OK : E_NOINTERFACE;
    }
    Result QueryInterface(const IID& iid, void** out) noexcept final {
        const Result code = Answer(iid, out);
        if (Succeeded(code)) {
            this->Increment();
        }
        return code;
    }
    std::int32_t AddRef() noexcept final { return this->Increment(); }
    std::int32_t Release() noexcept override { return this->Decrement(); }

  protected:
    Component() noexcept = default;
    ~Component() = default;
};
