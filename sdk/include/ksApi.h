// The host's camera API: opaque camera handles, the image record and parameter access.
//
// Threading: every call may come from any thread. A camera serialises its own state, so
// the acquisition worker may wait in ksApi_GetImage while the GUI thread reads or writes
// parameters or calls ksApi_StopAcquisition; a stop wakes a waiting ksApi_GetImage, which
// then returns false. Only one thread should fetch images from one camera at a time.
#pragma once

#include "ksCoreGlobal.h"

#include <cstddef>
#include <cstdint>

// Identifies one opened camera. Stale or unknown handles are answered with a failure,
// never dereferenced.
typedef void* KSCORE_HANDLE;

// Image record filled by ksApi_GetImage. The caller zero-fills it and sets `size` to
// sizeof(KS_IMG) before every call; the layout is fixed across host versions.
typedef struct KS_IMG
{
    uint32_t size;          // in: record size, 312
    uint32_t flags;         // out: KS_IMG_FLAG_* bits
    void* data;             // out: first byte of the image, null when no image was delivered
    uint64_t dataSize;      // out: bytes at `data`
    uint32_t width;         // out: pixels per line
    uint32_t height;        // out: lines
    uint32_t frameNumber;   // out: the camera's frame counter
    uint32_t timestampSec;  // out: camera clock at the start of the frame, whole seconds
    uint32_t timestampUsec; // out: microseconds part of the same instant
    uint32_t dataFormat;    // out: value of "imgdataformat" the frame was produced with
    uint32_t bytesPerPixel; // out: bytes each pixel occupies at `data`
    uint32_t reserved0;
    uint64_t transferTicks; // out: link time the frame took, in ticks of 4 ns
    uint8_t reserved[248];
} KS_IMG;

static_assert(sizeof(void*) == 8, "the image record layout assumes 64-bit pointers");
static_assert(sizeof(KS_IMG) == 312, "KS_IMG must stay 312 bytes");
static_assert(offsetof(KS_IMG, size) == 0, "KS_IMG.size");
static_assert(offsetof(KS_IMG, data) == 8, "KS_IMG.data");
static_assert(offsetof(KS_IMG, width) == 24, "KS_IMG.width");
static_assert(offsetof(KS_IMG, height) == 28, "KS_IMG.height");
static_assert(offsetof(KS_IMG, frameNumber) == 32, "KS_IMG.frameNumber");
static_assert(offsetof(KS_IMG, timestampSec) == 36, "KS_IMG.timestampSec");
static_assert(offsetof(KS_IMG, timestampUsec) == 40, "KS_IMG.timestampUsec");

enum KS_IMG_FLAG
{
    KS_IMG_FLAG_TEST_PATTERN = 0x1, // the frame carries the throughput counter pattern
};

// Camera counters, read by writing "counter_selector" and then reading "counter_value".
enum KS_COUNTER_SELECTOR
{
    KS_CNT_TRANSPORT_SKIP = 0,
    KS_CNT_API_SKIP = 1,
    KS_CNT_TRANSFERRED = 2,
    KS_CNT_MISSED_TRG_OVERLAP = 3,
    KS_CNT_MISSED_TRG_OVERFLOW = 4,
    KS_CNT_BUFFER_OVERFLOW = 5,
};

// Values of the camera parameters that the throughput measurement sets and puts back.
enum KS_PARAM_VALUE
{
    KS_BP_UNSAFE = 0,                        // "buffer_policy": frames the host has no room for are dropped
    KS_BP_SAFE = 1,                          // "buffer_policy": the link waits for the host
    KS_FRM_TRANSPORT_DATA = 7,               // "imgdataformat": raw transport data
    KS_TESTPAT_GEN_FPGA = 1,                 // "test_pattern_generator_selector": the link unit's generator
    KS_TESTPAT_DEVICE_SPEC_COUNTER = 11,     // "test_pattern": every word the link-time counter
    KS_TS_RST_MODE_ON_SOURCE = 0,            // "ts_rst_mode": reset by the source below
    KS_TS_RST_SOURCE_ACQUISITION_START = 19, // "ts_rst_source"
};

// Data-processing cells, addressed by "dp_unit_selector", "dp_proc_selector" and
// "dp_param_selector" and read or written through "dp_param_value".
enum KS_DP_CELL
{
    KS_DP_UNIT_FPGA = 1,
    KS_DP_PROC_FRAME_BUFFER = 5,
    KS_DP_PARAM_FRAMEBUF_MODE = 6, // values below
    KS_DP_PARAM_FRAMEBUF_SIZE = 7, // bytes, read-only
    KS_DP_PARAM_VALUE_FRAMEBUF_MODE_DISABLED = 9,
    KS_DP_PARAM_VALUE_FRAMEBUF_MODE_ENABLED = 10,
};

// Device registers, addressed by "device_unit_selector" and "device_unit_register_selector"
// and read or written through "device_unit_register_value".
enum KS_DEVICE_REGISTER
{
    KS_DEV_UNIT_SENSOR = 8,
    KS_DEV_REG_SENSOR_DATA_RATE = 4096, // MB/s, read-only
    KS_DEV_UNIT_LINK = 1,
    KS_DEV_REG_LINK_MODE = 55,
    KS_DEV_REG_LINK_MODE_MEASURE = 25000, // what a throughput run writes
    KS_DEV_REG_LINK_MODE_NORMAL = 1,      // what its restore writes back
};

// Written to the optional error-code output of the calls below.
enum KS_ERROR
{
    KS_OK = 0,
    KS_ERR_INVALID_HANDLE = 1,
    KS_ERR_UNKNOWN_PARAMETER = 2,
    KS_ERR_OUT_OF_RANGE = 3,
    KS_ERR_READ_ONLY = 4,
    KS_ERR_LOCKED_WHILE_ACQUIRING = 5,
    KS_ERR_REFUSED = 6,
    KS_ERR_NOT_ACQUIRING = 7,
    KS_ERR_ALREADY_ACQUIRING = 8,
    KS_ERR_TIMEOUT = 9,
    KS_ERR_ABORTED = 10,
    KS_ERR_DEVICE = 11,
    KS_ERR_INVALID_ARGUMENT = 12,
};

// What the transport of a camera says of itself, beyond its images: the rate it is set to send
// at, a GigE Vision stream's statistics, and why it may send nothing. The caller zero-fills the
// record, sets `size` and asks for parts in `request`; `flags` says which parts were filled.
enum KS_TRANSPORT_INFO_PART
{
    KS_TI_FRAME_RATE = 0x1, // frameRate and payloadBytes: what a free-running camera sends
    KS_TI_STREAM = 0x2,     // stream[], counted since the acquisition started
    KS_TI_WAITING = 0x4,    // waitingFor: set only when the camera waits for something
};

// Indices of KS_TRANSPORT_INFO::stream.
enum KS_STREAM_STAT
{
    KS_STREAM_MISSING_PACKETS = 0,
    KS_STREAM_RESEND_REQUESTS = 1,
    KS_STREAM_RESENT_PACKETS = 2,
    KS_STREAM_UNDERRUNS = 3,
    KS_STREAM_FAILURES = 4,
    KS_STREAM_TIMEOUTS = 5,
    KS_STREAM_TRANSFERRED_BYTES = 6,
    KS_STREAM_STATS = 7,
};

typedef struct KS_TRANSPORT_INFO
{
    uint32_t size;    // in: sizeof(KS_TRANSPORT_INFO)
    uint32_t request; // in: KS_TI_* parts wanted
    uint32_t flags;   // out: KS_TI_* parts filled
    uint32_t reserved0;
    double frameRate;      // frames per second the camera is set to send
    uint64_t payloadBytes; // bytes of one frame
    uint64_t stream[KS_STREAM_STATS];
    char waitingFor[256]; // UTF-8, null-terminated: what the camera waits for before it sends
} KS_TRANSPORT_INFO;

// Suffix that turns a parameter write into a query: true means the value could be
// written; nothing is written.
#define KS_SETTABLE_SUFFIX ":settable"

// True when the value was read into `value`.
KSCORE_EXPORT bool ksApi_GetParamInt(KSCORE_HANDLE hCam, const char* name, int& value,
                                     int* errorCode = nullptr);
// True when written (or, for a ":settable" name, when the value could be written).
KSCORE_EXPORT bool ksApi_SetParamInt(KSCORE_HANDLE hCam, const char* name, int value,
                                     int* errorCode = nullptr);
// Non-zero when the camera started to acquire.
KSCORE_EXPORT int ksApi_StartAcquisition(KSCORE_HANDLE hCam);
// Zero when the camera stopped; otherwise a KS_ERROR. Note the sense is the reverse of
// ksApi_StartAcquisition.
KSCORE_EXPORT int ksApi_StopAcquisition(KSCORE_HANDLE hCam);
// Waits up to `timeoutMs` for the next image. True with a non-null `image->data` when an
// image was delivered. The data stays valid until the next call on the same camera; with
// `releasePrevious` false the previous image stays valid one call longer.
KSCORE_EXPORT bool ksApi_GetImage(KSCORE_HANDLE hCam, unsigned int timeoutMs, KS_IMG* image,
                                  int* errorCode = nullptr, bool releasePrevious = true);
// Fills what the camera can tell of the parts asked for; false for a stale handle or a record
// of the wrong size. Cheap enough for once a second while the camera acquires, from any thread;
// KS_TI_FRAME_RATE and KS_TI_WAITING may ask a real camera over its control channel.
KSCORE_EXPORT bool ksApi_GetTransportInfo(KSCORE_HANDLE hCam, KS_TRANSPORT_INFO* info);
// Version of the host core library.
KSCORE_EXPORT void ksCoreVersion(int& major, int& minor, int& build);
