// The values of the configuration as a new process has them.
#pragma once

void Forget_Configuration();
