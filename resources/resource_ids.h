// Every resource identifier of the module, one name each.
#pragma once
