IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[T]') AND OBJECTPROPERTY(id, N'IsView') = 1) 
	 DROP VIEW [dbo].[T]