// What the module exports beside its factory. The one compiler extension that the whole project needs.
#pragma once

#if defined(ZV_BUILDING_MODULE)
#define ZV_EXPORT __declspec(dllexport)
#else
#define ZV_EXPORT __declspec(dllimport)
#endif
