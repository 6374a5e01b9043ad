// plain_bare.cpp - a test plug-in without life-cycle entry points.
#include <Base/Plugin/kyPluginExport.h>

KY_PLUGIN_EXPORT int plainValue() {
    return 8;
}
