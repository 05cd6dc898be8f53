# What is compiled of this folder: for every program, and for the windowed application alone.
set(VT_MACOS_SOURCES
  AutomaticProxies.cpp
  Bundle.cpp
  Confinement.cpp
  CoreFoundationObject.cpp
  KeychainDictionary.cpp
  Log.cpp
  ProcessMemory.cpp
  ProxyResolver.cpp
  Security.cpp
  TrustStore.cpp)
set(VT_MACOS_WINDOW_SOURCES
  Application.cpp
  GetURLEvents.cpp
  URLSchemeHandler.cpp
  Workspace.cpp)
