// Every resource identifier of the module, one name each. Also read by the resource compiler: macros only.
// Controls of different dialogs may share a number; each dialog names its own.
#pragma once

// Icons.
#define IDI_TAVIX_SMALL 103    // dialogs, windows, About
#define IDI_TAVIX_PAGE 104     // tab of the property pages
#define IDI_USER_GUIDE 111     // menu
#define IDI_TERMINAL 112       // menu
#define IDI_USB_TWEAK 113      // menu
#define IDI_DEVICE_FAILED 114  // USB device absent or with a problem
#define IDI_DEVICE_WORKS 115   // USB device present and working
#define IDI_IRP_STATES 116     // menu

// Other resources. The help text has the resource type "RTF".
#define IDM_COMMON_CONTROLS_MANIFEST 2
#define IDR_GLOBAL_SETTINGS_HELP 108

// Dialog templates.
#define IDD_GLOBAL_SETTINGS 105
#define IDD_USB_TWEAK 106
#define IDD_VCOM_PAGE 200
#define IDD_USBD_PAGE 201
#define IDD_VBUS_PAGE 202

// The file logging box that every page has.
#define IDC_FILE_LOGGING 1021

// VCOM page.
#define IDC_VCOM_ICON 103
#define IDC_VCOM_LIFEMODE_TEMPORAL 1002
#define IDC_VCOM_LIFEMODE_FRIENDLY 1003
#define IDC_VCOM_LIFEMODE_PERSISTENT 1004
#define IDC_VCOM_PORT_NAME 1005
#define IDC_VCOM_BIND_SEQUENTIAL 1007
#define IDC_VCOM_BIND_DEVICE_TYPE 1008
#define IDC_VCOM_BIND_SERIAL_NUMBER 1009
#define IDC_VCOM_BIND_USB_PORT 1010
#define IDC_VCOM_DRIVER_VERSION 1012
#define IDC_VCOM_SAVE 1013
#define IDC_VCOM_REFRESH 1014
#define IDC_VCOM_FRIENDLY_NAME 1015
#define IDC_VCOM_WHO_OPENED 1016
#define IDC_VCOM_PORT_NAME_LABEL 1018
#define IDC_VCOM_SERIAL_IN_NAMES 1019
#define IDC_VCOM_DEFAULT 1020
#define IDC_VCOM_USB_ERROR_LINE 1023
#define IDC_VCOM_USB_ERROR_DETAILS 1024
#define IDC_VCOM_TOOLS 1025
#define IDC_VCOM_MORE_GLOBALS 1027

// USB device page.
#define IDC_USBD_LOG_TEXT 1039
#define IDC_USBD_CLEAR 1040
#define IDC_USBD_OPEN_VCOM 1041
#define IDC_USBD_STARTUP_SUMMARY 1042
#define IDC_USBD_SHOW_RECENT 1043
#define IDC_USBD_SHOW_PAST 1044
#define IDC_USBD_MAPPING 1045
#define IDC_USBD_SAVE_TO_FILE 1046
#define IDC_USBD_STATUS 1050
#define IDC_USBD_STATE_ICON 1104

// Virtual bus page.
#define IDC_VBUS_DEVELOPER_MENU 1037

// Global settings.
#define IDC_GLOBAL_EXPORT 4
#define IDC_GLOBAL_ICON 103
#define IDC_GLOBAL_DRIVER_VERSION 1012
#define IDC_GLOBAL_IPRODUCT_IN_NAMES 1017
#define IDC_GLOBAL_SERIAL_IN_NAMES 1019
#define IDC_GLOBAL_DEFAULT 1020
#define IDC_GLOBAL_VIRTUAL_MACHINE 1022
#define IDC_GLOBAL_UNIQUE_SERIAL 1023
#define IDC_GLOBAL_DATAPIPE_LIFEMODE 1024
#define IDC_GLOBAL_CLEAR_INPUT 1026
#define IDC_GLOBAL_PREFER_PORT_NAMES 1028
#define IDC_GLOBAL_PORT_NAMES 1029
#define IDC_GLOBAL_NEW_VCOM_LIFEMODE 1030
#define IDC_GLOBAL_PREFETCH_MODE 1031
#define IDC_GLOBAL_PREFETCH_HELP 1032
#define IDC_GLOBAL_BUFFER_SIZE 1033
#define IDC_GLOBAL_ROB 1035
#define IDC_GLOBAL_HELP 1036

// USB tweak.
#define IDC_TWEAK_RESET_OUT_PIPE 1100
#define IDC_TWEAK_RESET_IN_PIPE 1101
#define IDC_TWEAK_RESET_PORT 1102
#define IDC_TWEAK_CYCLE_PORT 1103
