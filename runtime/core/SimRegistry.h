// Lookup of open simulated cameras for the camera-API entry points. The shared pointer
// keeps a camera alive for the length of a call even if the host closes it meanwhile.
#pragma once

#include "ksApi.h"
#include "ksSim/CxSimCamera.h"

#include <memory>

std::shared_ptr<CxSimCamera> ksLookupCamera(KSCORE_HANDLE hCam);
// A capture call on a camera that was closed while acquiring: its caller has done with the
// last image it got, so the camera can go.
void ksReleaseRetiredCamera(KSCORE_HANDLE hCam);
