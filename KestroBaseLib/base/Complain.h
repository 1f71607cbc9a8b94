#pragma once

#include <cstdio>

#include "Language.h"

/** Writes a message to standard error and answers the status that goes with it. */
template <const MESSAGE& stMessage, typename... A>
int Complain(int nStatus, A... args) {
    static_assert(ArgumentsFit<A...>(stMessage.m_lpszEnglish), "the arguments don't fit the text");
    if constexpr (sizeof...(A) == 0)
        std::fputs(Text(stMessage), stderr);
    else
        std::fprintf(stderr, Text(stMessage), args...);
    return nStatus;
}
