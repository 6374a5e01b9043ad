// showcase.h - the sections of the showcase program, one function per area.
#ifndef KY_EXAMPLES_SHOWCASE_H
#define KY_EXAMPLES_SHOWCASE_H

/// Prints a section title.
void showcaseSection(const char* title);

// One tour per area, in examples/showcase_<area>.cpp.
void showcaseStrings();
void showcaseOS();
void showcaseMemory();
void showcasePaths();
void showcaseFiles();
void showcaseGetOpt();
void showcaseIO();
void showcasePackets();
void showcasePackages();
void showcasePackageEditing();
void showcaseSignals();
void showcaseTCP();
void showcaseUndo();
void showcaseLinear();
void showcaseThreads();
void showcasePlugins();

#endif // KY_EXAMPLES_SHOWCASE_H
