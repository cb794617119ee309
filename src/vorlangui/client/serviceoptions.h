#pragma once

// What the options know of components that a service of this machine runs. Any thread.

namespace vorlan {

// This user has installed the component as a service: the client neither starts nor
// stops it by itself.
bool IsRunByService(int component);

// It is from now on: its start option ("StartEngine") moves away ("OldStartEngine"). A
// second time changes nothing.
void MoveStartOptionAway(int component);
// It is no longer: what was moved away comes back; nothing without it.
void BringStartOptionBack(int component);

} // namespace vorlan
