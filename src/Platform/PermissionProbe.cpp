#include "Platform/PermissionProbe.h"

#include "Platform/Linux/LinuxPermissionProbe.h"

std::unique_ptr<PermissionProbe> PermissionProbe::createDefault()
{
    return std::make_unique<LinuxPermissionProbe>();
}
