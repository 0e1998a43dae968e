/* A guest that returns at once: its run is the cost of start-up and exit alone. */
int main(void) { return 0; }
