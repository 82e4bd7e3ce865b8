// What runs when the library is loaded and unloaded.
#pragma once

/// Binds the kernels to the processor, then initialises the AMD run time; a failure of either is ignored.
void OnLibraryLoad();
/// Terminates the AMD run time.
void OnLibraryUnload();
