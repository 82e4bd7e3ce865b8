// What runs when the library is loaded and unloaded.
#pragma once

/// Binds the kernels to the processor and initialises the AMD run time, in this order; failures are ignored.
void OnLibraryLoad();
/// Terminates the AMD run time.
void OnLibraryUnload();
