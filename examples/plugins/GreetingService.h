// GreetingService.h - the service type of the example plug-in: something that greets.
#ifndef KY_EXAMPLES_GREETINGSERVICE_H
#define KY_EXAMPLES_GREETINGSERVICE_H

#include <Base/Plugin/kyPluginService.h>

/// An application-defined service type. The application knows this header; plug-ins provide
/// services of the type, and the application finds them by type and name.
class GreetingService : public kyPlugin::Service {
public:
    using kyPlugin::Service::Service;
    const char* getType() const override { return "Greeting"; }
    /// Writes a greeting for `who` into `out` (of `size` bytes); false when it cannot.
    virtual bool greet(const char* who, char* out, unsigned size) = 0;
};

#endif // KY_EXAMPLES_GREETINGSERVICE_H
