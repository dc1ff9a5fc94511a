#include "runtime/Persistence.h"

bool TakesParameters(IDataStream* stream) noexcept {
    const auto structured = SmartPtr<IXMLStream>::QueryFrom(stream);
    const auto folder = SmartPtr<IFolderStream>::QueryFrom(stream);
    return structured || folder;
}

Result SaveParameters(IParametricObject& object, IDataStream* stream, int flags) noexcept {
    if (!TakesParameters(stream)) {
        return S_OK;
    }
    SmartPtr<INamedCollection> parameters;
    object.GetParameters(parameters.Receive(), 0);
    const auto persist = SmartPtr<IDataPersist>::QueryFrom(parameters.Get());
    if (persist) {
        persist->Save(stream, flags);
    }
    return S_OK;
}

Result LoadParametersThrough(IParametricObject& object, IDataStream* stream,
                             const SmartPtr<INamedCollection>& list) noexcept {
    const auto persist = SmartPtr<IDataPersist>::QueryFrom(list.Get());
    if (!persist) {
        return E_FAIL;
    }
    persist->Load(stream, 0);
    // Fails only where the framework does not give the strings to look the names up with.
    return object.SetParameters(list.Get());
}

Result LoadParameters(IParametricObject& object, IDataStream* stream) noexcept {
    return TakesParameters(stream) ? LoadParametersThrough(object, stream, BASEObject::CreateParameters()) : E_FAIL;
}
