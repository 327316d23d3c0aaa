// What the module exports beside its factory.
#pragma once

#if defined(ZV_BUILDING_MODULE)
#define ZV_EXPORT __declspec(dllexport)
#else
#define ZV_EXPORT __declspec(dllimport)
#endif
