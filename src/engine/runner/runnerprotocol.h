#pragma once

// What the Engine and its helper process say to each other over a socket pair.

#include "engine/runner/runner.h"

#include <optional>
#include <string>

namespace vorlan::runner {

// Engine to helper: Start (with the write end of the output pipe beside it), Stop.
// Helper to Engine: Started, Ended.
enum class FrameKind : uint8_t { Start = 1, Stop, Started, Ended };

// Bytes of one frame; the arguments and environment of a process fit the system's
// own limit of 2 MiB for both together.
inline constexpr size_t k_FrameLimit = size_t{4} << 20;

struct Frame {
    FrameKind kind = FrameKind::Start;
    UID work;
    RunSpec spec;    // Start
    int graceMs = 0; // Stop
    int pid = 0;     // Started
    RunEnd end;      // Ended
};

// Adds the frame's bytes to the end of `out`.
void AppendFrame(Frame const& frame, std::string& out);

// Takes one frame off `bytes` from `from` on, and moves `from` behind it. Nothing
// when it is not whole yet. Throws ParseException for bytes that are no frame.
std::optional<Frame> TakeFrame(std::string_view bytes, size_t& from);

} // namespace vorlan::runner
