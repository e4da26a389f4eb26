// Numbers of the device configuration that project commands write. They are the device layer's own
// numbers; this layer stands beside it and reaches it through hooks only.
#pragma once

enum DEVICE_PARAMS : int {
    DEVICE_PARAM_USB_SERIAL = 2,
    DEVICE_PARAM_USE_SERIAL = 3,
    DEVICE_PARAM_HOST_IF = 4,
    DEVICE_PARAM_TARGET_IF = 5,
    DEVICE_PARAM_SPEED = 6, ///< Hz; 0 auto, 65535 adaptive
    DEVICE_PARAM_DR_PRE = 10,
    DEVICE_PARAM_IR_PRE = 11,
    DEVICE_PARAM_MULTIPLE_TARGETS = 12,
    DEVICE_PARAM_HOST_NAME = 18,
    DEVICE_PARAM_NAME = 19,
    DEVICE_PARAM_SCRIPT_FILE = 20,
    DEVICE_PARAM_LOG_FILE = 21,
};

/// Values of DEVICE_PARAM_HOST_IF.
enum HOST_IFS : int { HOST_IF_USB = 1, HOST_IF_IP = 2 };

/// What DEVICE_PARAM_HOST_NAME holds until somebody sets it.
inline constexpr const char* DEFAULT_HOST_NAME = "192.168.0.1";
