// The choice of a CUDA device, and the driver's statuses by their names.
#pragma once

#include "NVIDIA/inc/cuda_driver.h"

/// Name of a status; "CUDA_ERROR not found!" when it is none of the list.
const char* CudaErrorName(CUresult Status);

/// Tells a failure on the standard error stream, with the place that it was met at.
/// @return Whether the status is success.
bool checkCudaErrors(CUresult Status, const char* pFile, int iLine);

/// Cores of a multiprocessor of that compute capability. One that is not in the list is told on standard output and
/// counts as the newest that is.
int32_t MapSMtoCores(int32_t Major, int32_t Minor);

/// The fastest device: the most cores times clock, and of the newest architecture where that is above 2. Loads the
/// driver first, and does not look whether that worked. A failure is told on a standard stream and answered; the
/// process goes on.
/// @param pStatus  Receives 0, or what made it fail: the driver's status, or CUDA_ERROR_NO_DEVICE (100) when no device
///                 is there or none may be used.
/// @return The device's number; -1 after a failure.
int32_t gpuGetMaxGflopsDeviceIdDRV(CUresult* pStatus);
