// consumer_plugin.cpp - a plug-in built against the installed Base with base_add_plugin().
#include <Base/Plugin/kyPluginExport.h>

KY_PLUGIN_EXPORT void initializePlugin() {}
