// The pictures that the driver's parser has given to be shown and that no client has yet.
#pragma once

#include "NVIDIA/inc/cuvid_driver.h"
#include "platform/critical_section.h"
#include "platform/event.h"

#include <cstdint>

/// First in, first out, of fixed room. Safe from any thread.
class FrameQueue
{
public:
    static constexpr int32_t kCapacity = 20; // pictures, and the driver's surfaces that they can be on

    FrameQueue() = default;
    virtual ~FrameQueue() = default;
    FrameQueue(const FrameQueue&) = delete;
    FrameQueue& operator=(const FrameQueue&) = delete;

    /// Whether a picture index that the driver gave may be handed to the operations below.
    static bool isIndex(int32_t Index) { return Index >= 0 && Index < kCapacity; }

    /// Takes a picture and marks its surface as in use. When there is no room the oldest picture goes, and its mark:
    /// who adds and who takes may be one thread, which must not wait for itself.
    void enqueue(const CUVIDPARSERDISPINFO& Info);
    /// The oldest picture; false, with a picture index of -1, when there is none. Its mark stays.
    bool dequeue(CUVIDPARSERDISPINFO& Info);
    /// Takes the mark off a picture's surface.
    void releaseFrame(const CUVIDPARSERDISPINFO& Info);
    bool isInUse(int32_t Index) const;

    /// No more pictures are wanted.
    void endDecode();
    bool isEndOfDecode() const { return m_bEndOfDecode != 0; }
    /// Set by every enqueue and by the end.
    platform::Event& Changed() { return m_Event; }

private:
    void DropOldest();

    platform::Event m_Event;
    mutable platform::CriticalSection m_Lock; // guards all below
    int32_t m_ReadPosition = 0;               // 0..19
    int32_t m_Length = 0;                     // 0..20
    CUVIDPARSERDISPINFO m_Entries[kCapacity]{};
    int32_t m_bInUse[kCapacity]{}; // by picture index
    int32_t m_bEndOfDecode = 0;
};
