#include "reader/conditions.h"

constinit ProcessLifetime<CFitFields> The_Conditions([] { return new CFitFields; });

int CFitFields::FitConditions(int /*message_t*/, CMessage* /*message*/)
{
    return 1;
}

void CFitFields::EraseAll() {}
