// Gets here only when all types have the sizes that the program relies on.
int main() {}
