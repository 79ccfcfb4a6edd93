#include "Adapters/Linux/ApplicationInterface.h"
