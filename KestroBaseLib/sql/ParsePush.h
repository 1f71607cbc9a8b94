#pragma once

#include "KestroErrorCode.h"

/** Adds an entry to a queue or stack, which would lose it silently: ERR_MEMORY says so. */
template <typename CONTAINER, typename T>
[[nodiscard]] int PushEntry(CONTAINER& stContainer, T nEntry) {
    const int nSize = stContainer.size();
    stContainer.push(nEntry);
    return stContainer.size() > nSize ? ERR_OK : ERR_MEMORY;
}
