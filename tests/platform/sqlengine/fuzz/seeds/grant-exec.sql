GRANT EXECUTE ON [dbo].[P] TO [public] /* comment */ -- line
EXEC sp_helprotect '[dbo].[P]', 'public'