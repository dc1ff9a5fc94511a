// What checks and tests lend to the module under test: objects on the stack that count their references.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <span>

#include "contract/IROI.h"
#include "contract/Module.h"

/// Answers the interfaces it derives from, counts its references and is never destroyed by them.
template <class... Interfaces>
class Lent : public Interfaces... {
  public:
    std::int32_t references = 1;

    Result QueryInterface(const IID& iid, void** out) noexcept override {
        *out = nullptr;
        static_cast<void>((((iid == IidOf<Interfaces>() || iid == IID_IUnknown) &&
                            (*out = static_cast<Interfaces*>(this)) != nullptr) ||
                           ...));
        references += *out != nullptr ? 1 : 0;
        return *out != nullptr ? S_OK : E_NOINTERFACE;
    }
    std::int32_t AddRef() noexcept override { return ++references; }
    std::int32_t Release() noexcept override { return --references; }

  protected:
    ~Lent() = default;
};

/// x' = a x + b y + dx + bend x y + lift z, y' = c x + d y + dy + bend y y: affine without a bend and a lift. Every
/// call moves the next point by the drift further along x, which tells in what order they are mapped. It adds 7 to z,
/// which a new figure passes as 0 for every point, and fails, which is not to matter.
class AffineMap final : public Lent<ITransform> {
  public:
    double a = 1, b = 0, c = 0, d = 1, dx = 0, dy = 0, bend = 0, lift = 0, drift = 0;
    bool zWasZero = true;

    /// Takes these numbers in this order, as many as there are.
    void Take(std::span<const double> numbers) noexcept {
        double* const mine[] = {&a, &b, &c, &d, &dx, &dy, &bend, &lift, &drift};
        for (std::size_t i = 0; i < std::min(numbers.size(), std::size(mine)); ++i) {
            *mine[i] = numbers[i];
        }
    }

    Result TransformPoint(double* x, double* y, double* z) noexcept override {
        const double oldX = *x;
        const double oldY = *y;
        *x = a * oldX + b * oldY + dx + bend * oldX * oldY + lift * *z;
        *y = c * oldX + d * oldY + dy + bend * oldY * oldY;
        dx += drift;
        zWasZero = zWasZero && *z == 0.0;
        *z += 7.0;
        return E_FAIL;
    }
};

/// An image that knows its size only.
class SizedImage final : public Lent<ICIF> {
  public:
    SizedImage(int width, int height) noexcept : width(width), height(height) {}

    int width, height;

    Result GetSize(int* toWidth, int* toHeight, int* extra) noexcept override {
        *toWidth = width;
        *toHeight = height;
        *extra = 0;
        return S_OK;
    }
    Result Create(int, int, int, int, std::uint32_t) noexcept override { return E_FAIL; }
    Result Fill(int) noexcept override { return E_FAIL; }
};

/// A geometry whose extent is a box.
class BoxGeometry final : public Lent<IGeometry, IGeometricAssembly, IPoints> {
  public:
    Result GetElement(int kind, IPoints** element) noexcept override {
        *element = kind == kGeometricExtent ? this : nullptr;
        references += *element != nullptr ? 1 : 0;
        return *element != nullptr ? S_OK : E_INVALIDARG;
    }
    Result GetPoint(int index, double* x, double* y, double* z) noexcept override {
        *x = *y = *z = index;
        return index < 3 ? S_OK : E_INVALIDARG;
    }
};

/// A stream that is neither structured nor a folder.
class PlainStream final : public Lent<IDataStream> {};

/// The framework's collection of components, with the classes of the module under test in place of
/// those of the module that lies beside the host.
class TestedComponents final : public Lent<IComponentCollection> {
  public:
    TestedComponents(IComponentCollection& framework, CreateFunctionEntry tested) noexcept
        : m_framework(framework), m_tested(tested) {}

    Result GetItem(int index, IUnknown** item) noexcept override { return m_framework.GetItem(index, item); }
    Result FindByName(IString* name, int* index) noexcept override { return m_framework.FindByName(name, index); }
    Result CreateComponent(tagREFString className, const IID& iid, void** out) noexcept override {
        ComponentCreator create = nullptr;
        IID wanted = iid;
        return m_tested(className, &create) == S_OK && create != nullptr
                   ? create(nullptr, &wanted, out)
                   : m_framework.CreateComponent(className, iid, out);
    }

  private:
    IComponentCollection& m_framework;
    CreateFunctionEntry m_tested;
};
