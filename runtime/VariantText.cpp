#include "runtime/VariantText.h"

#include <algorithm>
#include <memory>

#include "contract/NumberText.h"

namespace {

SmartPtr<IString> TextOfNumber(double value, int decimals) noexcept {
    const int room = RoomForNumber(decimals);
    const std::unique_ptr<char[]> narrow(new (std::nothrow) char[static_cast<std::size_t>(room)]);
    const std::unique_ptr<wchar_t[]> wide(new (std::nothrow) wchar_t[static_cast<std::size_t>(room)]);
    if (narrow == nullptr || wide == nullptr) {
        return nullptr;
    }
    const int length = NumberToText(value, decimals, narrow.get());
    std::copy_n(narrow.get(), length, wide.get());
    return CreateStringOf({length, wide.get()});
}

}  // namespace

SmartPtr<IString> ISCreate(IVariant* value, short precision) noexcept {
    if (value == nullptr) {
        return nullptr;
    }
    if (value->HasString() != 0) {
        SmartPtr<IUnknown> text;
        value->GetString(text.Receive());
        return SmartPtr<IString>::QueryFrom(text.Get());
    }
    const int kind = value->GetKind();
    if (kind == kVariantNone) {
        return nullptr;
    }
    if (kind == kVariantInteger || precision == 0) {
        return TextOfNumber(value->GetInteger(), 0);
    }
    const double number = value->GetDouble();
    return TextOfNumber(number, precision < 0 ? DecimalsNeeded(number) : precision);
}

SmartPtr<IString> ISCreate(IVariant* value) noexcept {
    if (value == nullptr) {
        return nullptr;
    }
    if (value->HasString() != 0 || value->GetKind() != kVariantNone) {
        return ISCreate(value, -1);
    }
    SmartPtr<IUnknown> object;
    value->GetObject(object.Receive());
    tagREFString name{0, nullptr};
    if (const auto info = SmartPtr<IObjectInfo>::QueryFrom(object.Get())) {
        info->GetName(0, &name);
    }
    return CreateStringOf(name);
}
