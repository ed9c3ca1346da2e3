// Export macros and the maker's identity shared by the host libraries and their plug-ins.
#pragma once

#include <QtCore/qglobal.h>

#if defined(KSCORE_LIBRARY)
#define KSCORE_EXPORT Q_DECL_EXPORT
#else
#define KSCORE_EXPORT Q_DECL_IMPORT
#endif

#if defined(KSCOREGUI_LIBRARY)
#define KSCOREGUI_EXPORT Q_DECL_EXPORT
#else
#define KSCOREGUI_EXPORT Q_DECL_IMPORT
#endif

// Reverse-domain prefix of every interface identifier the host declares. The ".invalid"
// top-level domain is reserved, so the prefix can never name a real organisation.
#define KS_VENDOR_PREFIX "invalid.quorvane"
