// What runs when the library is loaded and unloaded.
#pragma once

/// Initialises the AMD run time; a failure is ignored. The kernels have bound themselves to the processor by then
/// (kernels/dispatch/kernels.cpp).
void OnLibraryLoad();
/// Terminates the AMD run time.
void OnLibraryUnload();
