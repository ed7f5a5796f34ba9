#pragma once
// Ids of the bootstrapper's string table (present in six languages).
#define IDS_PRODUCT_NAME 109
#define IDS_REBOOT_CAPTION 114
#define IDS_REBOOT_TEXT 115
#define IDS_PROGRESS_TITLE 116
#define IDS_PROGRESS_STATUS 117
#define IDS_PREREQUISITE_CAPTION 118
#define IDS_PREREQUISITE_MISSING 119
#define IDS_PREREQUISITE_QUESTION 120
