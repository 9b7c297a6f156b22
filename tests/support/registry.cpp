#include "support/registry.h"

#include "zopi.h"

#include "support/registry_table.inc"
