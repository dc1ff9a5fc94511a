// Persistence through the parameter list: what most figures save of themselves is their list and nothing else.
#pragma once

#include "runtime/ParameterList.h"

/// Whether a stream can take a parameter list: it answers IXMLStream or IFolderStream. Null cannot.
bool TakesParameters(IDataStream* stream) noexcept;

/// Saves an object's parameter list into a stream that takes one, and writes nothing to any other.
/// Always S_OK, whatever the list's own saving returned and even when there is no list to save.
Result SaveParameters(IParametricObject& object, IDataStream* stream, int flags) noexcept;

/// Loads a parameter list from a stream and gives it to the object. E_FAIL, with nothing changed, for a
/// stream that takes no list and when the framework cannot give one. The list is loaded with flags 0
/// and its result is not examined: values it lacks are the object's business.
Result LoadParameters(IParametricObject& object, IDataStream* stream) noexcept;

/// The part of LoadParameters that starts from an empty list, null included.
Result LoadParametersThrough(IParametricObject& object, IDataStream* stream,
                             const SmartPtr<INamedCollection>& list) noexcept;

/// Base of the classes whose persistence is their parameter list and nothing else.
template <class T>
class IDataPersistParametricImpl : public IDataPersist, public IParametricImpl<T> {
  public:
    Result Save(IDataStream* stream, int flags) noexcept override { return SaveParameters(*this, stream, flags); }
    Result Load(IDataStream* stream, int /*flags*/) noexcept override { return LoadParameters(*this, stream); }

  protected:
    ~IDataPersistParametricImpl() = default;
};
