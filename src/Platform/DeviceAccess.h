#pragma once

// How far this process reaches a class of devices, as the operating system answers.
enum class DeviceAccess
{
    open,       // it can be used
    refused,    // it exists, but this process is turned away (device permissions, a privacy switch)
    none,       // nothing of the kind is there
    unexpected, // an answer that means none of the above
};
