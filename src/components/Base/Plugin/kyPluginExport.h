// kyPluginExport.h - KY_PLUGIN_EXPORT, the macro that exports a plug-in's entry symbols.
#ifndef KY_PLUGIN_EXPORT_H
#define KY_PLUGIN_EXPORT_H

/// Exports one of the four entry symbols of a plug-in library with an unmangled name, so that
/// the loader finds it by name. A plug-in defines those it needs:
///
/// @code
///   KY_PLUGIN_EXPORT void initializePlugin() { ... }        // after loading
///   KY_PLUGIN_EXPORT void uninitializePlugin() { ... }      // before unloading
///   // proxies (files named "serviceDecl_<anything>"):
///   KY_PLUGIN_EXPORT const char* getPluginProxyName() { return "paint.so"; }
///   KY_PLUGIN_EXPORT void installPluginServices(kyPlugin::PluginProxy* proxy) { ... }
/// @endcode
///
/// The library is built with `base_add_plugin()` (CMake), which hides every other symbol.
#if defined(_WIN32)
#define KY_PLUGIN_EXPORT extern "C" __declspec(dllexport)
#else
#define KY_PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace kyPlugin {
class PluginProxy;

/// Signatures of the entry symbols.
using InitializePluginFunc = void (*)();
using UninitializePluginFunc = void (*)();
using GetPluginProxyNameFunc = const char* (*)();
using InstallPluginServicesFunc = void (*)(PluginProxy* proxy);
} // namespace kyPlugin

#endif // KY_PLUGIN_EXPORT_H
