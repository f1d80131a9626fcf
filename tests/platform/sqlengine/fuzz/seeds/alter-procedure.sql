/* head */
ALTER PROCEDURE [dbo].[P] @a int = 1 OUTPUT AS
SELECT @a = COUNT(*) FROM T
RETURN @a