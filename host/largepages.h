// Memory for a short run that needs much of it.
#pragma once

// Lets the heap keep what is freed, and asks the system for large pages for it. An export touches most of its memory
// once: getting it from the system page by page takes up to a fifth of the time. Without large pages nothing but the
// time changes.
void UseLargePages();
