// 20 million instructions, to check what is counted.
int main(void) {
    __asm__ volatile("mov $10000000, %%ecx; 0: dec %%ecx; jnz 0b" : : : "ecx", "cc");
    return 0;
}
