void 0;
