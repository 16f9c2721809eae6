/* A module without any resources. */
int zvclr_test_empty_module(void);
int zvclr_test_empty_module(void) { return 1; }
