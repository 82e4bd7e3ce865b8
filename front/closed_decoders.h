// Software decoders whose session has ended. The object of a session stays allocated for good; the next session that
// needs one takes it, so that there are never more of them than sessions at once.
#pragma once

namespace UMC {
class H264VideoDecoder;
}

/// A decoder in the state of a new one: one that another session has left, or a new one. Null when memory is exhausted.
/// From any thread.
UMC::H264VideoDecoder* TakeDecoder();

/// Closes a decoder of TakeDecoder() and keeps it for the next session; null is passed over. From any thread.
/// @return false when it does not close: it then stays with the caller.
bool LeaveDecoder(UMC::H264VideoDecoder* pDecoder);
