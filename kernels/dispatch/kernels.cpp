#include "kernels/dispatch/kernels.h"

namespace kernels {

KernelSlots g_Kernels;

} // namespace kernels
