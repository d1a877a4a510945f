#pragma once

/** Waits a little, for more to come. False when nobody reads standard output any more. */
bool waitForMore();
