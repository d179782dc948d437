// Memory for a short run.
#pragma once

// Lets the heap keep what is freed, and grow in large steps; for the start of a program. Nothing but the time changes.
// Large pages aren't asked for: a virtual machine whose host has to find the memory first takes six times as long for
// one as for the small ones in its place, and else they save a tenth of an export.
void ReserveHeap();
