// A caller's own template for an info box; also read by the resource compiler.
#pragma once

#define IDD_INFO_BOX 500
#define IDC_ONLY_IN_RESOURCE 501
