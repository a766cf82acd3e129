/* What each of our libraries exports: nothing but what is marked with its macro. For C, too. */
#pragma once

/* Nothing marks what is imported: the linker finds it, and the same headers serve a static link. */
#if defined(_WIN32)
#define BX_EXPORT __declspec(dllexport)
#define BX_IMPORT
#else
#define BX_EXPORT __attribute__((visibility("default")))
#define BX_IMPORT __attribute__((visibility("default")))
#endif

#if defined(BX_DEVICE_EXPORTS)
#define BX_DEVICE_API BX_EXPORT
#else
#define BX_DEVICE_API BX_IMPORT
#endif

#if defined(BX_DEVICE_C_EXPORTS)
#define BX_C_API BX_EXPORT
#else
#define BX_C_API BX_IMPORT
#endif

#if defined(BX_SERIAL_COM_EXPORTS)
#define BX_SERIAL_COM_API BX_EXPORT
#else
#define BX_SERIAL_COM_API BX_IMPORT
#endif

#if defined(MORVA_Data_Type_JSON_EXPORTS)
#define MORVA_API BX_EXPORT
#else
#define MORVA_API BX_IMPORT
#endif
