#pragma once

#include "App/AppState.h"
#include "App/Preferences.h"
#include "TestEnvironment.h"

// A fresh AppState on empty preferences in private XDG directories. Members are built in order, so the
// preferences file is looked up inside the private directories.
struct StateFixture
{
    TestEnvironment environment;
    Preferences preferences;
    AppState state{&preferences};
};
