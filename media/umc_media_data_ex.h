// A run of bytes with a side table of units, which somebody else owns.
#pragma once

#include "media/umc_media_data.h"

#include <memory>
#include <new>

namespace UMC {

class MediaDataEx : public MediaData
{
public:
    UMC_DERIVED_CLASS(MediaDataEx, MediaData, "MediaDataEx")

    /// The units of a buffer: where each begins and what it is. The arrays are null when memory was exhausted.
    class _MediaDataEx
    {
    public:
        UMC_ROOT_CLASS(_MediaDataEx, "_MediaDataEx")
        virtual ~_MediaDataEx() { Limit = 0; }

        uint32_t Limit = 2000;                                                    // capacity of both arrays
        std::unique_ptr<uint32_t[]> Offsets{new (std::nothrow) uint32_t[2000]()}; // entry Count ends the last unit
        std::unique_ptr<uint32_t[]> Values{new (std::nothrow) uint32_t[2000]()};
        uint32_t Count = 0;
        uint32_t Index = 0;
    };

    _MediaDataEx* GetExData() { return m_pExData; }
    void SetExData(_MediaDataEx* pExData) { m_pExData = pExData; } ///< not owned

private:
    _MediaDataEx* m_pExData = nullptr;
};

} // namespace UMC
