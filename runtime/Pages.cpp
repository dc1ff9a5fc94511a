#include "runtime/Pages.h"

Result MakePages(tagREFString key, tagREFString pageClass, tagREFString objectName, INamedCollection** pages) noexcept {
    *pages = nullptr;
    SmartPtr<ISuperCollection> collection = CREFString::CreateCollection();
    const SmartPtr<IString> keyString = CreateStringOf(key);
    const SmartPtr<IString> pageString = CreateStringOf(pageClass);
    const SmartPtr<IString> nameString = CreateStringOf(objectName);
    if (!collection || !keyString || !pageString || !nameString) {
        return E_FAIL;
    }
    collection->AddPage(keyString.Get(), pageString.Get(), nameString.Get(), 0);
    // The operation's output is typed INamedCollection, the collection that carries pages is an
    // ISuperCollection, and receivers expect exactly that pointer: they call it through the slots that
    // every interface begins with and query it for the collection interface they know. The types are
    // unrelated to the compiler only; the pointer is handed out as it is.
    *pages = reinterpret_cast<INamedCollection*>(collection.Detach());
    return S_OK;
}
