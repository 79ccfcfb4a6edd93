#include "Adapters/Linux/Desktop/ApplicationInterface.h"
