/* A shared object that exports nothing of what the grammar names. */
int kvel_empty_plugin(void);
int kvel_empty_plugin(void) { return 0; }
