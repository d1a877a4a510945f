#pragma once

/**
 * Prints the stability event files in the monitor directory and its folders: each one's name taken
 * apart, and its content.
 */
void showFiles();
