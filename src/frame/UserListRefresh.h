// The one way in which the cache is primed: the backend's user list, through narrow text, into the table.
#pragma once

#include "backend/AxKzrApp.h"
#include "cache/CacheManager.h"
#include "com/Text.h"

namespace kzr {

// Asks the backend for its user list and rebuilds the cache from it unless the list is empty.
//   refreshed  whether there was a list
// Answers the call's HRESULT. Names that the ANSI code page cannot express are lost on the way, as they
// always were.
inline HRESULT RefreshUserList(CAxKzrApp* backend, CCacheManager* cache, bool& refreshed)
{
    Variant list;
    const HRESULT called = backend->Call(L"SOF_GetUserList", list);
    refreshed = SUCCEEDED(called) && list.HasText();
    if (refreshed) cache->UpdateUserList(StringToWide(BstrToString(list.Text())), backend);
    return called;
}

}  // namespace kzr
