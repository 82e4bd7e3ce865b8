// The one exception of the decoder: thrown inside header and macroblock parsing, caught at the decoder's own borders.
#pragma once

#include "media/umc_status.h"

namespace UMC {

class h264_exception
{
public:
    explicit h264_exception(Status status = StatusInvalidParams) : m_Status(status) {}
    virtual ~h264_exception() = default;
    Status GetStatus() const { return m_Status; }

private:
    Status m_Status;
};

} // namespace UMC
