// The mark of operations that always give nothing.
#pragma once

/// Stands in front of an operation that a new host has no use for, and says why. The compiler warns of it only where a
/// host defines `QLX_WARN_DEPRECATED`: hosts that call such operations go on building as they always have.
#ifdef QLX_WARN_DEPRECATED
#define QLX_DEPRECATED_OPERATION(text) [[deprecated(text)]]
#else
#define QLX_DEPRECATED_OPERATION(text)
#endif
