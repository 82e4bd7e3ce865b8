// Which engine a request ends in.
#pragma once

#include "quilvex/Quilvex.h"

#include <gtest/gtest.h>

/// The tag of what a request gives, 0 for null. The object is released again.
inline uint32_t TagOf(uint32_t id)
{
    IVCodec* const pCodec = CreateVCodec(id);
    if (!pCodec) return 0;
    const uint32_t Tag = pCodec->GetBackendTag();
    EXPECT_EQ(pCodec->Release(), 0);
    return Tag;
}
